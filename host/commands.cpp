#include "host/commands.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>
#include <utility>

#include "base/text.h"
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

// One right-click: the selection, the extension's object for it, and what it put into the menu.
struct Session {
  Selection Selected;
  ComPtr<IContextMenu> Extension;
  unique_hmenu Menu;
  Offer Offered;
};

Session right_Click(const Arguments& arguments, std::span<const std::wstring> paths, unique_hmenu menu) {
  Session session;
  session.Menu = std::move(menu);
  session.Selected = make_Selection(paths);
  session.Extension = create_Extension(session.Selected.DataObject.Get());
  session.Offered =
      query_Menu(session.Extension.Get(), session.Menu.get(), arguments.FirstId, arguments.QueryFlags);
  return session;
}

Session open_Session(const Arguments& arguments, std::span<const std::wstring> paths, unique_hmenu menu) {
  if (paths.empty()) {
    throw Failure{
        L"The command " + quoted(arguments.Command) + L" needs the path of a file, folder or drive.",
        exit_wrong_usage};
  }
  if (arguments.SecondsBefore != 0) {
    constexpr DWORD second = 1000;
    right_Click(arguments, paths, unique_hmenu(CreatePopupMenu()));
    Sleep(arguments.SecondsBefore * second);
  }
  Session session = right_Click(arguments, paths, std::move(menu));
  if (arguments.IsVerbose) {
    print_Note(session.Selected.IsFromShell ? L"The selection was handed over in the shell's data object."
                                            : L"The selection was handed over in menuhost's own data object, "
                                              L"because the shell's does not offer every path.");
  }
  return session;
}

int list_Items(const Arguments& arguments) {
  Session session = open_Session(arguments, arguments.Operands, unique_hmenu(CreatePopupMenu()));
  fetch_Texts(session.Extension.Get(), session.Offered);
  if (arguments.IsJson)
    print_Text(describe_OfferAsJson(session.Selected, session.Offered, arguments));
  else
    print_Text(describe_Offer(session.Offered));
  return exit_success;
}

// Carries the item out and reports it; `number` counts the items from 1.
void run_Item(const Session& session, const Arguments& arguments, std::size_t number, HWND owner) {
  const auto item = select_Items(session.Offered)[number - 1];
  invoke_Item(session.Extension.Get(), item, owner);
  if (arguments.IsJson) {
    print_Text(json_Object({{L"dataObject", describe_DataObject(session.Selected)},
                            {L"item", std::to_wstring(number)},
                            {L"id", std::to_wstring(item.Id)},
                            {L"offset", std::to_wstring(item.Offset)},
                            {L"caption", json_Text(item.Caption)}}) +
               L"\n");
  } else {
    print_Text(L"Invoked item " + std::to_wstring(number) + L": " + quoted(item.Caption) + L".\n");
  }
}

// Reports that no item is carried out, and why.
int report_NoItem(const Session& session, const Arguments& arguments, std::wstring_view sentence) {
  const std::wstring no_item =
      json_Object({{L"dataObject", describe_DataObject(session.Selected)}, {L"item", L"null"}}) + L"\n";
  print_Text(arguments.IsJson ? no_item : sentence);
  return exit_success;
}

int invoke_ByNumber(const Arguments& arguments) {
  if (arguments.Operands.empty())
    throw Failure{L"The command \"invoke\" needs the number of an item and a path.", exit_wrong_usage};
  const auto number = parse_Number(arguments.Operands.front(), L"The number of the item", last_command_id);
  const Session session =
      open_Session(arguments, std::span(arguments.Operands).subspan(1), unique_hmenu(CreatePopupMenu()));
  const auto count = select_Items(session.Offered).size();
  if (number < 1 || number > count) {
    throw Failure{L"There is no item " + std::to_wstring(number) + L"; the extension offers " +
                  std::to_wstring(count) + (count == 1 ? L" item." : L" items.")};
  }
  run_Item(session, arguments, number, nullptr);
  return exit_success;
}

void add_StandIn(HMENU menu, const wchar_t* caption) {
  AppendMenuW(menu, MF_STRING | MF_GRAYED, 0, caption);
}

int show_Menu(const Arguments& arguments) {
  if (arguments.FirstId == 0)
    throw Failure{L"The command \"show\" needs a first identifier of at least 1.", exit_wrong_usage};
  unique_hmenu menu(CreatePopupMenu());
  add_StandIn(menu.get(), L"Open");
  AppendMenuW(menu.get(), MF_SEPARATOR, 0, nullptr);
  const auto session = open_Session(arguments, arguments.Operands, std::move(menu));
  const auto items = select_Items(session.Offered);
  if (items.empty())
    return report_NoItem(session, arguments, nothing_offered);
  add_StandIn(session.Menu.get(), L"Properties");
  const unique_hwnd owner = open_OwnerWindow();
  const auto picked = pick_FromMenu(session.Menu.get(), owner.get());
  const auto item = std::ranges::find_if(items, [&](const MenuEntry& entry) { return picked == entry.Id; });
  if (item == items.end())
    return report_NoItem(session, arguments, L"Nothing was picked.\n");
  run_Item(session, arguments, static_cast<std::size_t>(item - items.begin()) + 1, owner.get());
  handle_WaitingMessages();
  return exit_success;
}

int explain_Items(const Arguments& arguments) {
  if (arguments.Operands.empty())
    throw Failure{L"The command \"doctor\" needs the path of a file, folder or drive.", exit_wrong_usage};
  const auto sections = diagnose(make_Selection(arguments.Operands));
  print_Text(arguments.IsJson ? describe_DiagnosisAsJson(sections) : describe_Diagnosis(sections));
  return exit_success;
}

int run_Log(const Arguments& arguments) {
  print_Text(switch_Log(arguments.Operands));
  return exit_success;
}

struct CommandRow {
  std::wstring_view Name;
  std::wstring_view Operands;
  std::wstring_view Summary;
  int (*Run)(const Arguments&);
};

constexpr CommandRow command_table[] = {
    {L"list", L"PATH…", L"print the items that the extension offers for the paths", list_Items},
    {L"show", L"PATH…", L"pop the menu up at the pointer and carry out what is picked", show_Menu},
    {L"invoke", L"N PATH…", L"carry out the extension's item N, counted from 1", invoke_ByNumber},
    {L"doctor", L"PATH…", L"tell why each item is or is not offered, and from which settings", explain_Items},
    {L"log", L"on|off|show", L"switch the diagnostic log, or show its last lines", run_Log},
};

}  // namespace

int run_Command(const Arguments& arguments) {
  if (arguments.Command.empty())
    throw Failure{L"A command is missing; see \"menuhost --help\".", exit_wrong_usage};
  const auto row = std::ranges::find(command_table, arguments.Command, &CommandRow::Name);
  if (row == std::end(command_table)) {
    throw Failure{quoted(arguments.Command) + L" is not a command; see \"menuhost --help\".",
                  exit_wrong_usage};
  }
  return row->Run(arguments);
}

std::wstring describe_Usage() {
  std::wstring lines =
      L"menuhost plays Explorer for the Norvak context menu, and explains what it offers.\n\n"
      L"Usage: menuhost COMMAND … [OPTION…]\n\nCommands:\n";
  for (const CommandRow& row : command_table) {
    lines += L"  " + pad_Right(std::wstring(row.Name) + L" " + std::wstring(row.Operands), 16) +
             std::wstring(row.Summary) + L"\n";
  }
  return lines + L"\nOptions, before or after the command (\"--\" ends them):\n" + describe_Options() +
         L"\nExamples:\n"
         L"  menuhost list C:\\Letters\\offer.pdf\n"
         L"  menuhost list --json --flags 0x4 C:\\Letters E:\\\n"
         L"  menuhost invoke 2 C:\\Letters\\offer.pdf C:\\Letters\\plan.png\n"
         L"  menuhost show E:\\\n";
}

}  // namespace host
