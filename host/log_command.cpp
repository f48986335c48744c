#include "host/log_command.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <fstream>
#include <optional>

#include "base/text.h"
#include "files/file_names.h"
#include "files/files.h"
#include "host/doctor/log_state.h"
#include "host/explorer/failure.h"
#include "host/json.h"
#include "host/language.h"
#include "host/layout.h"
#include "host/output.h"
#include "settings/registry.h"
#include "settings/registry_keys.h"
#include "settings/registry_view.h"
#include "settings/settings.h"
#include "suite/diagnostic_log.h"

namespace host {
namespace {

struct LastLines {
  std::deque<std::wstring> Lines;
  std::size_t Total = 0;
};

void require_Written(bool written, const Setting& setting) {
  if (!written)
    throw Failure{say(TEXT_NOT_WRITTEN, {setting.Path})};
}

// The log reads this one from the registry alone, whatever INI files there are.
void write_AlwaysDebug(const wchar_t* text) {
  require_Written(
      write_Value(find_Place(in_SuiteView(always_debug.Path)), REG_SZ, RegistryValue(std::wstring(text))),
      always_debug);
}

bool is_FolderSet() {
  return !is_Empty(find_Value(debug_path.Path).Value);
}

bool is_Set(const Setting& setting) {
  return !is_Empty(regread_api(setting.Path));
}

// Whether the value is where only 64-bit programs look and nothing of the suite writes.
bool is_OutsideSuitesView(const Setting& setting) {
  return is_Set(setting) && is_Empty(regread_api(in_SuiteView(setting.Path)));
}

// A log that nobody can write must not be taken for one that has nothing to tell.
void require_Writable(const LogState& state) {
  if (const auto sentence = describe_LogFault(state); !sentence.empty())
    throw Failure{sentence + L" " + say(TEXT_LOG_NOT_SWITCHED)};
}

LogState switch_On(const std::vector<std::wstring>& words) {
  if (words.size() == 1) {
    auto state = find_LogState();
    require_Writable(state);
    write_AlwaysDebug(L"1");
    state.IsOn = true;
    return state;
  }
  if (!is_FullPath(words[1]) || !folder_Exists(words[1]))
    throw Failure{say(TEXT_NO_FOLDER, {words[1]})};
  const auto folder = with_Backslash(words[1]);
  if (!is_LogFolder(folder))
    throw Failure{say(TEXT_NO_LOG_FOLDER, {words[1]})};
  auto state = find_LogState(folder);
  require_Writable(state);
  require_Written(regwrite_sz(debug_path.Path, folder), debug_path);
  return state;
}

// A folder for the log switches it on by itself, so it has to go too.
LogState switch_Off() {
  if (is_Set(always_debug))
    write_AlwaysDebug(L"0");
  if (is_OutsideSuitesView(debug_path))
    throw Failure{say(TEXT_SET_BY_POLICY, {debug_path.Path})};
  if (is_FolderSet())
    require_Written(deletevalue(debug_path.Path) && !is_FolderSet(), debug_path);
  auto state = find_LogState();
  state.IsOn = false;
  return state;
}

// The component writes UTF-8 or the system's code page.
std::wstring read_Line(const std::string& line) {
  const auto length = static_cast<int>(line.size());
  std::wstring text(line.size(), L'\0');
  const auto written =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, line.data(), length, text.data(), length);
  if (written == 0)
    return from_Ansi(line);
  text.resize(static_cast<std::size_t>(written));
  return text;
}

LastLines read_LastLines(const std::wstring& file, std::size_t most) {
  std::ifstream stream{std::filesystem::path(exact_Path(file))};
  LastLines last;
  for (std::string line; std::getline(stream, line); ++last.Total) {
    if (line.ends_with('\r'))
      line.pop_back();
    last.Lines.push_back(read_Line(line));
    if (last.Lines.size() > most)
      last.Lines.pop_front();
  }
  return last;
}

std::wstring describe_State(const LogState& state) {
  if (state.IsTraced)
    return say(TEXT_LOG_TRACED, {drive_root_trace.Path}) + L"\n";
  if (state.File.empty())
    return say(state.IsOn ? TEXT_LOG_ON_NOWHERE : TEXT_LOG_OFF_NOWHERE) + L"\n";
  return say(state.IsOn ? TEXT_LOG_ON : TEXT_LOG_OFF, {state.File}) + L"\n";
}

std::wstring describe_Lines(const LastLines& last) {
  if (last.Lines.empty())
    return last.Total == 0 ? say(TEXT_LOG_EMPTY) + L"\n" : L"";
  const auto shown = std::to_wstring(last.Lines.size());
  auto text = wrap_Lines(say(TEXT_LAST_LINES, {shown, std::to_wstring(last.Total)})) + L"\n";
  for (const std::wstring& line : last.Lines)
    text += line + L"\n";
  return text;
}

std::wstring describe_AsJson(const LogState& state, const std::optional<LastLines>& last) {
  return json_Answer(L"log", {{L"on", json_Boolean(state.IsOn)},
                              {L"file", json_TextOrNull(state.File)},
                              {L"traced", json_Boolean(state.IsTraced)},
                              {L"writable", json_Boolean(describe_LogFault(state).empty())},
                              {L"lines", last ? json_Array(last->Lines, json_Text) : L"null"},
                              {L"lineCount", last ? std::to_wstring(last->Total) : L"null"}});
}

}  // namespace

int run_Log(const Arguments& arguments) {
  const auto& words = arguments.Operands;
  const std::wstring_view word = words.empty() ? std::wstring_view() : words.front();
  const auto is_on = word == L"on";
  if (words.size() > (is_on ? 2u : 1u) || (!is_on && word != L"off" && word != L"show"))
    throw Failure{say(TEXT_LOG_WORDS), exit_wrong_usage};
  if (word == L"show") {
    const auto state = find_LogState();
    const auto last = read_LastLines(state.File, arguments.LineCount);
    print_Text(arguments.IsJson ? describe_AsJson(state, last)
                                : describe_State(state) + (state.File.empty() ? L"" : describe_Lines(last)));
    return exit_success;
  }
  const auto state = is_on ? switch_On(words) : switch_Off();
  print_Text(arguments.IsJson ? describe_AsJson(state, {})
                              : describe_State(state) + say(TEXT_EXPLORER_RESTART) + L"\n");
  return exit_success;
}

}  // namespace host
