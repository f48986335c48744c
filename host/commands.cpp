#include "host/commands.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>
#include <utility>

#include "host/doctor/report.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/failure.h"
#include "host/explorer/first_menu.h"
#include "host/explorer/handles.h"
#include "host/explorer/popup.h"
#include "host/explorer/selection.h"
#include "host/language.h"
#include "host/layout.h"
#include "host/listing.h"
#include "host/log_command.h"
#include "host/new_files.h"
#include "host/output.h"
#include "host/patterns.h"
#include "shellext/class_identifiers.h"

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

Selection select_Paths(const Arguments& arguments, std::span<const std::wstring> paths) {
  if (paths.empty())
    throw Failure{say(TEXT_PATH_NEEDED, {arguments.Command}), exit_wrong_usage};
  return make_Selection(expand_Patterns(paths));
}

Session right_Click(const Arguments& arguments, std::span<const std::wstring> paths, unique_hmenu menu) {
  Session session;
  session.Menu = std::move(menu);
  session.Selected = select_Paths(arguments, paths);
  session.Extension = create_Extension(session.Selected.DataObject.Get());
  session.Offered =
      query_Menu(session.Extension.Get(), session.Menu.get(), arguments.FirstId, arguments.QueryFlags);
  return session;
}

Session open_Session(const Arguments& arguments, std::span<const std::wstring> paths, unique_hmenu menu) {
  if (arguments.SecondsBefore != 0) {
    constexpr DWORD second = 1000;
    right_Click(arguments, paths, unique_hmenu(CreatePopupMenu()));
    Sleep(arguments.SecondsBefore * second);
  }
  Session session = right_Click(arguments, paths, std::move(menu));
  if (arguments.IsVerbose)
    print_Note(say(session.Selected.IsFromShell ? TEXT_SHELLS_DATA_OBJECT : TEXT_OWN_DATA_OBJECT));
  return session;
}

int list_FirstMenu(const Arguments& arguments) {
  const auto selection = select_Paths(arguments, arguments.Operands);
  const auto menu = query_Verb(create_Verb(clsid_ExplorerCommand).Get(), make_Items(selection.Paths).Get());
  print_Text(arguments.IsJson ? describe_FirstMenuAsJson(selection, menu, arguments)
                              : describe_FirstMenu(menu));
  return exit_success;
}

int list_Items(const Arguments& arguments) {
  if (arguments.IsModern)
    return list_FirstMenu(arguments);
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
  const auto folders = list_Folders(session.Selected.Paths);
  const auto known_files = list_Files(folders);
  Outcome outcome{number, select_Items(session.Offered)[number - 1], {}};
  invoke_Item(session.Extension.Get(), outcome.Item, owner);
  handle_WaitingMessages();
  outcome.NewFiles = list_NewFiles(folders, known_files);
  print_Text(arguments.IsJson ? describe_OutcomeAsJson(session.Selected, outcome, arguments)
                              : describe_Outcome(outcome));
}

// Reports that no item is carried out, and why.
int report_NoItem(const Session& session, const Arguments& arguments, unsigned long sentence) {
  print_Text(arguments.IsJson ? describe_OutcomeAsJson(session.Selected, {}, arguments)
                              : say(sentence) + L"\n");
  return exit_success;
}

int invoke_ByNumber(const Arguments& arguments) {
  if (arguments.Operands.empty())
    throw Failure{say(TEXT_NUMBER_NEEDED), exit_wrong_usage};
  const auto number = parse_Number(arguments.Operands.front(), say(TEXT_ITEM_NUMBER), last_command_id, 1);
  const Session session =
      open_Session(arguments, std::span(arguments.Operands).subspan(1), unique_hmenu(CreatePopupMenu()));
  const auto count = select_Items(session.Offered).size();
  if (number > count)
    throw Failure{say(TEXT_NO_SUCH_ITEM, {std::to_wstring(number), std::to_wstring(count)})};
  run_Item(session, arguments, number, nullptr);
  return exit_success;
}

void add_StandIn(HMENU menu, unsigned long caption) {
  AppendMenuW(menu, MF_STRING | MF_GRAYED, 0, say(caption).c_str());
}

int show_Menu(const Arguments& arguments) {
  if (arguments.FirstId == 0)
    throw Failure{say(TEXT_FIRST_ID_NEEDED), exit_wrong_usage};
  unique_hmenu menu(CreatePopupMenu());
  add_StandIn(menu.get(), TEXT_MENU_OPEN);
  AppendMenuW(menu.get(), MF_SEPARATOR, 0, nullptr);
  const auto session = open_Session(arguments, arguments.Operands, std::move(menu));
  const auto items = select_Items(session.Offered);
  if (items.empty())
    return report_NoItem(session, arguments, TEXT_NOTHING_OFFERED);
  add_StandIn(session.Menu.get(), TEXT_MENU_PROPERTIES);
  const unique_hwnd owner = open_OwnerWindow();
  const auto picked = pick_FromMenu(session.Menu.get(), owner.get());
  const auto item = std::ranges::find_if(items, [&](const MenuEntry& entry) { return picked == entry.Id; });
  if (item == items.end())
    return report_NoItem(session, arguments, TEXT_NOTHING_PICKED);
  run_Item(session, arguments, static_cast<std::size_t>(item - items.begin()) + 1, owner.get());
  return exit_success;
}

int run_Doctor(const Arguments& arguments) {
  const auto diagnosis = diagnose(select_Paths(arguments, arguments.Operands));
  print_Text(arguments.IsJson ? describe_DiagnosisAsJson(diagnosis)
                              : describe_Diagnosis(diagnosis, arguments.IsAll));
  return diagnosis.Problems.empty() ? exit_success : exit_problems;
}

int print_Help(const Arguments& arguments) {
  print_Text(describe_Usage(arguments.Operands.empty() ? std::wstring() : arguments.Operands.front()));
  return exit_success;
}

struct CommandRow {
  std::wstring_view Name;
  std::wstring_view Operands;
  unsigned long Summary;
  unsigned long Help;  // what the summary leaves open, and examples
  int (*Run)(const Arguments&);
};

constexpr CommandRow command_table[] = {
    {L"list", L"PATH…", TEXT_SUMMARY_LIST, TEXT_HELP_LIST, list_Items},
    {L"show", L"PATH…", TEXT_SUMMARY_SHOW, TEXT_HELP_SHOW, show_Menu},
    {L"invoke", L"N PATH…", TEXT_SUMMARY_INVOKE, TEXT_HELP_INVOKE, invoke_ByNumber},
    {L"doctor", L"PATH…", TEXT_SUMMARY_DOCTOR, TEXT_HELP_DOCTOR, run_Doctor},
    {L"log", L"on [FOLDER]|off|show", TEXT_SUMMARY_LOG, TEXT_HELP_LOG, run_Log},
    {L"help", L"[COMMAND]", TEXT_SUMMARY_HELP, TEXT_HELP_HELP, print_Help},
};

const CommandRow& find_Command(const std::wstring& name) {
  const auto row = std::ranges::find(command_table, name, &CommandRow::Name);
  if (row == std::end(command_table))
    throw Failure{say(TEXT_NO_COMMAND, {name}), exit_wrong_usage};
  return *row;
}

std::wstring describe_Commands() {
  std::wstring lines = say(TEXT_USAGE) + L"\n\n";
  for (const CommandRow& row : command_table) {
    const std::wstring left = L"  " + std::wstring(row.Name) + L" " + std::wstring(row.Operands);
    constexpr std::size_t summary_column = 28;
    lines += pad_Right(left, summary_column) + wrap_Text(say(row.Summary), summary_column, summary_column);
  }
  return lines;
}

std::wstring describe_Command(const CommandRow& row) {
  return L"menuhost " + std::wstring(row.Name) + L" " + std::wstring(row.Operands) + L"\n\n" +
         wrap_Lines(say(row.Help));
}

}  // namespace

int run_Command(const Arguments& arguments) {
  if (arguments.Command.empty())
    throw Failure{say(TEXT_COMMAND_NEEDED), exit_wrong_usage};
  const CommandRow& command = find_Command(arguments.Command);
  require_OwnOptions(arguments);
  return command.Run(arguments);
}

std::wstring describe_Usage(const std::wstring& command) {
  const auto about = command.empty() ? describe_Commands() : describe_Command(find_Command(command));
  return about + L"\n" + say(TEXT_OPTIONS) + L"\n\n" + describe_Options(command) + L"\n" +
         say(TEXT_EXIT_CODES) + L"\n";
}

}  // namespace host
