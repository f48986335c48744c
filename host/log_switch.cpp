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

void require_written(bool written, const Setting& setting) {
  if (!written) {
    throw Failure{std::wstring(setting.Path) +
                  L" cannot be written: that needs the rights of an administrator."};
  }
}

void write_setting(const Setting& setting, const std::wstring& text) {
  require_written(regwrite_sz(setting.Path, text), setting);
}

bool is_set(const Setting& setting) {
  return !is_Empty(regread_api(setting.Path));
}

/// Whether the value is where 64-bit programs alone look, and where nothing of the suite writes.
bool is_outside_suites_view(const Setting& setting) {
  return is_set(setting) && is_Empty(regread_api(in_SuiteView(setting.Path)));
}

void switch_on(const std::vector<std::wstring>& words) {
  if (words.size() == 1) {
    write_setting(always_debug, L"1");
    return;
  }
  if (!is_FullPath(words[1]) || !folder_Exists(words[1])) {
    throw Failure{quote_text(words[1]) + L" is not the full path of a folder."};
  }
  write_setting(debug_path, with_Backslash(words[1]));
}

/// A folder for the log switches it on by itself, so it has to go too.
void switch_off() {
  if (is_set(always_debug)) {
    write_setting(always_debug, L"0");
  }
  if (is_outside_suites_view(debug_path)) {
    throw Failure{std::wstring(debug_path.Path) +
                  L" is set for 64-bit programs alone, as by a policy, and has to be removed there."};
  }
  if (is_set(debug_path)) {
    require_written(deletevalue(debug_path.Path), debug_path);
  }
}

std::wstring read_last_lines(const std::wstring& file) {
  std::ifstream stream{std::filesystem::path(file)};
  std::deque<std::string> lines;
  for (std::string line; std::getline(stream, line); lines.push_back(line)) {
    if (lines.size() == shown_lines) {
      lines.pop_front();
    }
  }
  std::wstring text;
  for (const std::string& line : lines) {
    text += std::filesystem::path(std::u8string(line.begin(), line.end())).wstring() + L"\n";
  }
  return text;
}

std::wstring describe_state() {
  const std::wstring file = find_LogFile();
  return (is_LogOn() ? L"The log is on; its lines go to " : L"The log is off; its lines would go to ") +
         file + L".\n";
}

}  // namespace

std::wstring switch_log(const std::vector<std::wstring>& words) {
  const std::wstring_view word = words.empty() ? std::wstring_view() : words.front();
  const bool is_on = word == L"on";
  if (words.size() > (is_on ? 2u : 1u) || (!is_on && word != L"off" && word != L"show")) {
    throw Failure{L"The command \"log\" needs one of the words on, off and show; on may name a folder.",
                  exit_wrong_usage};
  }
  if (word == L"show") {
    return describe_state() + read_last_lines(find_LogFile());
  }
  if (is_on) {
    switch_on(words);
  } else {
    switch_off();
  }
  return describe_state() + L"Explorer takes this up when it starts anew.\n";
}

}  // namespace host
