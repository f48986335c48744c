#include "host/commands.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>
#include <utility>

#include "host/doctor/diagnosis.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/failure.h"
#include "host/explorer/handles.h"
#include "host/explorer/popup.h"
#include "host/explorer/selection.h"
#include "host/listing.h"
#include "host/log_switch.h"
#include "host/output.h"

namespace host {
namespace {

using Microsoft::WRL::ComPtr;

/// One right-click: the selection, the extension's object for it, and what it put into the menu.
struct Session {
  Selection Selected;
  ComPtr<IContextMenu> Extension;
  unique_menu Menu;
  Offer Offered;
};

Session right_click(const Arguments& arguments, std::span<const std::wstring> paths, unique_menu menu) {
  Session session;
  session.Menu = std::move(menu);
  session.Selected = make_selection(paths);
  session.Extension = create_extension(session.Selected.DataObject.Get());
  session.Offered =
      query_menu(session.Extension.Get(), session.Menu.get(), arguments.FirstId, arguments.QueryFlags);
  return session;
}

Session open_session(const Arguments& arguments, std::span<const std::wstring> paths, unique_menu menu) {
  if (paths.empty()) {
    throw Failure{
        L"The command " + quote_text(arguments.Command) + L" needs the path of a file, folder or drive.",
        exit_wrong_usage};
  }
  if (arguments.SecondsBefore != 0) {
    constexpr DWORD second = 1000;
    right_click(arguments, paths, unique_menu(CreatePopupMenu()));
    Sleep(arguments.SecondsBefore * second);
  }
  Session session = right_click(arguments, paths, std::move(menu));
  if (arguments.IsVerbose) {
    print_note(session.Selected.IsFromShell ? L"The selection was handed over in the shell's data object."
                                            : L"The selection was handed over in menuhost's own data object, "
                                              L"because the shell's does not offer every path.");
  }
  return session;
}

int list_items(const Arguments& arguments) {
  Session session = open_session(arguments, arguments.Operands, unique_menu(CreatePopupMenu()));
  fetch_texts(session.Extension.Get(), session.Offered);
  if (arguments.IsJson) {
    print_text(describe_offer_as_json(session.Selected, session.Offered, arguments));
  } else {
    print_text(describe_offer(session.Offered));
  }
  return exit_success;
}

/// Carries the item out and reports it; `number` counts the items from 1.
void run_item(const Session& session, const Arguments& arguments, std::size_t number, HWND owner) {
  const MenuEntry item = select_items(session.Offered)[number - 1];
  invoke_item(session.Extension.Get(), item, owner);
  if (arguments.IsJson) {
    print_text(json_object({{L"dataObject", describe_data_object(session.Selected)},
                            {L"item", std::to_wstring(number)},
                            {L"id", std::to_wstring(item.Id)},
                            {L"offset", std::to_wstring(item.Offset)},
                            {L"caption", json_text(item.Caption)}}) +
               L"\n");
  } else {
    print_text(L"Invoked item " + std::to_wstring(number) + L": " + quote_text(item.Caption) + L".\n");
  }
}

/// Reports that no item is carried out, and why.
int report_no_item(const Session& session, const Arguments& arguments, std::wstring_view sentence) {
  const std::wstring no_item =
      json_object({{L"dataObject", describe_data_object(session.Selected)}, {L"item", L"null"}}) + L"\n";
  print_text(arguments.IsJson ? no_item : sentence);
  return exit_success;
}

int invoke_by_number(const Arguments& arguments) {
  if (arguments.Operands.empty()) {
    throw Failure{L"The command \"invoke\" needs the number of an item and a path.", exit_wrong_usage};
  }
  const UINT number = parse_number(arguments.Operands.front(), L"The number of the item", last_command_id);
  const Session session =
      open_session(arguments, std::span(arguments.Operands).subspan(1), unique_menu(CreatePopupMenu()));
  const std::size_t count = select_items(session.Offered).size();
  if (number < 1 || number > count) {
    throw Failure{L"There is no item " + std::to_wstring(number) + L"; the extension offers " +
                  std::to_wstring(count) + (count == 1 ? L" item." : L" items.")};
  }
  run_item(session, arguments, number, nullptr);
  return exit_success;
}

void add_stand_in(HMENU menu, const wchar_t* caption) {
  AppendMenuW(menu, MF_STRING | MF_GRAYED, 0, caption);
}

int show_menu(const Arguments& arguments) {
  if (arguments.FirstId == 0) {
    throw Failure{L"The command \"show\" needs a first identifier of at least 1.", exit_wrong_usage};
  }
  unique_menu menu(CreatePopupMenu());
  add_stand_in(menu.get(), L"Open");
  AppendMenuW(menu.get(), MF_SEPARATOR, 0, nullptr);
  const Session session = open_session(arguments, arguments.Operands, std::move(menu));
  const std::vector<MenuEntry> items = select_items(session.Offered);
  if (items.empty()) {
    return report_no_item(session, arguments, nothing_offered);
  }
  add_stand_in(session.Menu.get(), L"Properties");
  const unique_window owner = open_owner_window();
  const std::optional<UINT> picked = pick_from_menu(session.Menu.get(), owner.get());
  const auto item = std::ranges::find_if(items, [&](const MenuEntry& entry) { return picked == entry.Id; });
  if (item == items.end()) {
    return report_no_item(session, arguments, L"Nothing was picked.\n");
  }
  run_item(session, arguments, static_cast<std::size_t>(item - items.begin()) + 1, owner.get());
  handle_waiting_messages();
  return exit_success;
}

int explain_items(const Arguments& arguments) {
  if (arguments.Operands.empty()) {
    throw Failure{L"The command \"doctor\" needs the path of a file, folder or drive.", exit_wrong_usage};
  }
  const auto sections = diagnose(make_selection(arguments.Operands));
  print_text(arguments.IsJson ? describe_diagnosis_as_json(sections) : describe_diagnosis(sections));
  return exit_success;
}

int run_log(const Arguments& arguments) {
  print_text(switch_log(arguments.Operands));
  return exit_success;
}

struct CommandRow {
  std::wstring_view Name;
  std::wstring_view Operands;
  std::wstring_view Summary;
  int (*Run)(const Arguments&);
};

constexpr CommandRow command_table[] = {
    {L"list", L"PATH…", L"print the items that the extension offers for the paths", list_items},
    {L"show", L"PATH…", L"pop the menu up at the pointer and carry out what is picked", show_menu},
    {L"invoke", L"N PATH…", L"carry out the extension's item N, counted from 1", invoke_by_number},
    {L"doctor", L"PATH…", L"tell why each item is or is not offered, and from which settings", explain_items},
    {L"log", L"on|off|show", L"switch the diagnostic log, or show its last lines", run_log},
};

}  // namespace

int run_command(const Arguments& arguments) {
  if (arguments.Command.empty()) {
    throw Failure{L"A command is missing; see \"menuhost --help\".", exit_wrong_usage};
  }
  const auto row = std::ranges::find(command_table, arguments.Command, &CommandRow::Name);
  if (row == std::end(command_table)) {
    throw Failure{quote_text(arguments.Command) + L" is not a command; see \"menuhost --help\".",
                  exit_wrong_usage};
  }
  return row->Run(arguments);
}

std::wstring describe_usage() {
  std::wstring lines =
      L"menuhost plays Explorer for the Norvak context menu, and explains what it offers.\n\n"
      L"Usage: menuhost COMMAND … [OPTION…]\n\nCommands:\n";
  for (const CommandRow& row : command_table) {
    lines += L"  " + pad_right(std::wstring(row.Name) + L" " + std::wstring(row.Operands), 16) +
             std::wstring(row.Summary) + L"\n";
  }
  return lines + L"\nOptions, before or after the command (\"--\" ends them):\n" + describe_options() +
         L"\nExamples:\n"
         L"  menuhost list C:\\Letters\\offer.pdf\n"
         L"  menuhost list --json --flags 0x4 C:\\Letters E:\\\n"
         L"  menuhost invoke 2 C:\\Letters\\offer.pdf C:\\Letters\\plan.png\n"
         L"  menuhost show E:\\\n";
}

}  // namespace host
