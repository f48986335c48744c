#include "host/log_switch.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <fstream>

#include "base/log.h"
#include "base/text.h"
#include "files/file_names.h"
#include "files/files.h"
#include "host/explorer/failure.h"
#include "host/output.h"
#include "settings/registry.h"
#include "settings/registry_view.h"
#include "settings/settings.h"
#include "suite/diagnostic_log.h"

namespace host {
namespace {

constexpr std::size_t shown_lines = 20;

void require_Written(bool written, const Setting& setting) {
  if (!written) {
    throw Failure{std::wstring(setting.Path) +
                  L" cannot be written: that needs the rights of an administrator."};
  }
}

void write_Setting(const Setting& setting, const std::wstring& text) {
  require_Written(regwrite_sz(setting.Path, text), setting);
}

bool is_Set(const Setting& setting) {
  return !is_Empty(regread_api(setting.Path));
}

// Whether the value is where only 64-bit programs look and nothing of the suite writes.
bool is_OutsideSuitesView(const Setting& setting) {
  return is_Set(setting) && is_Empty(regread_api(in_SuiteView(setting.Path)));
}

void switch_On(const std::vector<std::wstring>& words) {
  if (words.size() == 1) {
    write_Setting(always_debug, L"1");
    return;
  }
  if (!is_FullPath(words[1]) || !folder_Exists(words[1]))
    throw Failure{::quoted(words[1]) + L" is not the full path of a folder."};
  write_Setting(debug_path, with_Backslash(words[1]));
}

// A folder for the log switches it on by itself, so it has to go too.
void switch_Off() {
  if (is_Set(always_debug))
    write_Setting(always_debug, L"0");
  if (is_OutsideSuitesView(debug_path)) {
    throw Failure{std::wstring(debug_path.Path) +
                  L" is set for 64-bit programs alone, as by a policy, and has to be removed there."};
  }
  if (is_Set(debug_path))
    require_Written(deletevalue(debug_path.Path), debug_path);
}

std::wstring read_LastLines(const std::wstring& file) {
  std::ifstream stream{std::filesystem::path(file)};
  std::deque<std::string> lines;
  for (std::string line; std::getline(stream, line); lines.push_back(line))
    if (lines.size() == shown_lines)
      lines.pop_front();
  std::wstring text;
  for (const std::string& line : lines)
    text += std::filesystem::path(std::u8string(line.begin(), line.end())).wstring() + L"\n";
  return text;
}

std::wstring describe_State() {
  const auto file = find_LogFile();
  return (is_LogOn() ? L"The log is on; its lines go to " : L"The log is off; its lines would go to ") +
         file + L".\n";
}

}  // namespace

std::wstring switch_Log(const std::vector<std::wstring>& words) {
  const std::wstring_view word = words.empty() ? std::wstring_view() : words.front();
  const auto is_on = word == L"on";
  if (words.size() > (is_on ? 2u : 1u) || (!is_on && word != L"off" && word != L"show")) {
    throw Failure{L"The command \"log\" needs one of the words on, off and show; on may name a folder.",
                  exit_wrong_usage};
  }
  if (word == L"show")
    return describe_State() + read_LastLines(find_LogFile());
  if (is_on)
    switch_On(words);
  else
    switch_Off();
  return describe_State() + L"Explorer takes this up when it starts again.\n";
}

}  // namespace host
