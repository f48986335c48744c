#include "suite/diagnostic_log.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <optional>

#include "base/apartment.h"
#include "base/boundary.h"
#include "base/handles.h"
#include "base/log.h"
#include "base/module.h"
#include "base/process_values.h"
#include "base/text.h"
#include "components/automation.h"
#include "components/remote_component.h"
#include "files/file_names.h"
#include "files/user.h"
#include "settings/registry.h"
#include "settings/settings.h"
#include "suite/component_list.h"

namespace {

constexpr std::wstring_view project_name = L"NorvakContextMenu";
constexpr std::wstring_view default_log_file = L"pdf.log";
constexpr std::size_t traced_letters = 50;

enum class Component { Untried, Ready, Off };

struct Log {
  std::optional<bool> IsWanted;  // the settings, once they are all known
  bool AtWork = false;           // a message that the log's own work brings about is dropped
  Component State = Component::Untried;
  AutomationObject Logger;
  std::wstring LastMessage;
};

constinit PerApartment<Log> log_state;

constinit Settled<bool> is_always_on;
constinit Settled<std::wstring> debug_folder;  // empty when none is set
constinit Settled<std::wstring> log_folder;
constinit Settled<bool> is_trace_on;

enum class Test { Equals, Contains };

struct FileRule {
  Test Kind;
  std::wstring_view ExecutableName;
  std::wstring_view ProjectName;
  std::wstring_view File;
};

constexpr std::array file_rules{
    FileRule{Test::Equals, L"norvakcredentials", L"norvakcredentials", L"SmartLogin.log"},
    FileRule{Test::Equals, L"credentialprovider", L"credentialprovider", L"CardMonitor.log"},
    FileRule{Test::Equals, L"setcredentials", L"setcredentials", L"SmartLogin.log"},
    FileRule{Test::Equals, L"usbcredentials", L"usbcredentials", L"SmartLogin.log"},
    FileRule{Test::Contains, L"pkcs11", L"pkcs11", L"SmartLogin.log"},
    FileRule{Test::Contains, L"certinstaller", L"certinstaller", L"csp.log"},
    // A project named after the creator is no creator process: only its executable writes to this file.
    FileRule{Test::Contains, L"creator", L"certinstaller", L"pdf.log"},
    FileRule{Test::Contains, L"signator", L"signator", L"pdf.log"},
    FileRule{Test::Contains, L"saver", L"saver", L"pdf.log"},
    FileRule{Test::Contains, L"serviceclient", L"serviceclient", L"serviceclient.log"},
    FileRule{Test::Contains, L"credentialprovider", L"credentialprovider", L"CardMonitor.log"},
};

std::wstring read_Setting(std::wstring_view path) {
  return as_Text(regread_api(path));
}

std::wstring read_DebugFolder() {
  auto folder = regread_Text(debug_path.Path);
  if (folder.empty() || !is_LogFolder(folder))
    return {};
  auto debug_folder_name = with_Backslash(folder);
  if (debug_folder_name != folder)
    regwrite_sz(debug_path.Path, debug_folder_name);
  return debug_folder_name;
}

// Nothing is kept in the quiet state, in which the folder is not known.
bool is_Wanted(Log& log) {
  if (log.IsWanted)
    return *log.IsWanted;
  const bool always = is_always_on.get_Or([] { return read_Setting(always_debug.Path) == L"1"; });
  if (is_Quiet() && !debug_folder.get())
    return always;
  log.IsWanted = !debug_folder.get_Or(read_DebugFolder).empty() || always;
  return *log.IsWanted;
}

bool is_Noise(std::wstring_view message) {
  static constexpr std::array<std::wstring_view, 3> whole{L"set_ ready", L"set_", L"info ready"};
  static constexpr std::array<std::wstring_view, 4> parts{L"unloading", L"is_servermode",
                                                          L"is not system (lsass) process",
                                                          L"readerlist length (in characters) is:"};
  const auto text = to_Lower(trim(message));
  return std::ranges::find(whole, text) != whole.end() ||
         std::ranges::any_of(parts, [&](auto part) { return contains(text, part); });
}

struct Identity {
  std::wstring User = get_UserName();
  std::wstring Program{after_Last(get_ModulePath(nullptr), L'\\')};
  std::wstring Process = decimal(GetCurrentProcessId());
  std::wstring LogFile{choose_LogFile(Program, project_name)};
};

constinit Settled<Identity> identity;

Identity own_Identity() {
  return identity.get_Or([] { return Identity(); });
}

std::wstring compose_Header() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  std::wstring time(9, L'\0');  // day, hour, minute and second, two digits each
  wsprintfW(time.data(), L"%02u%02u%02u%02u", now.wDay, now.wHour, now.wMinute, now.wSecond);

  std::wstring header;
  const auto own = own_Identity();
  for (const std::wstring_view field : {std::wstring_view(time.c_str()), std::wstring_view(own.User),
                                        std::wstring_view(own.Program), std::wstring_view(own.Process)}) {
    if (!field.empty())
      header.append(field).append(L":");
  }
  return header.append(L" ");
}

bool ensure_Logger(Log& log) {
  if (log.State == Component::Untried || is_Gone(log.Logger.Get())) {
    log.Logger = create_Component(log_component);
    log.State = log.Logger ? Component::Ready : Component::Off;
  }
  return log.State == Component::Ready;
}

// The first of the folders that is a full path: any other lies in the folder that somebody works in.
std::wstring find_Folder() {
  auto folder = debug_folder.get().value_or(std::wstring());
  if (!is_FullPath(folder))
    folder = with_Backslash(read_Setting(alternative_write_path.Path));
  if (!is_FullPath(folder))
    folder = read_Setting(second_install_folder.Path);
  if (!is_FullPath(folder))
    folder = regread_Text(install_folder.Path);
  return is_FullPath(folder) ? folder : std::wstring();
}

void write_Line(Log& log, std::wstring_view message) {
  const auto file = find_LogFile();
  if (file.empty() || !ensure_Logger(log))
    return;
  if (const auto chosen = own_Identity().LogFile; !chosen.empty())
    put_Property(log.Logger.Get(), L"LogfileName", text_Argument(chosen));
  send_Member(log.Logger.Get(), L"logge",
              {text_Argument(compose_Header().append(message)), text_Argument(file)});
}

// Letters that the code page has not are written as numbers, since a name must not read as another one.
std::wstring spelled_Out(std::wstring_view text) {
  std::wstring line;
  for (const auto& letter : text) {
    if (is_InCodePage({&letter, 1})) {
      line += letter;
      continue;
    }
    std::array<wchar_t, 9> number{};
    wsprintfW(number.data(), L"{U+%04X}", letter);
    line += number.data();
  }
  return line;
}

bool append_ToFile(const wchar_t* path, const std::string& bytes) {
  const auto file = own_File(CreateFileW(path, FILE_APPEND_DATA | FILE_READ_ATTRIBUTES,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  // Anybody may make links in the root of a drive, and what they lead to is not ours to write.
  BY_HANDLE_FILE_INFORMATION information{};
  if (!file || !GetFileInformationByHandle(file.get(), &information) || information.nNumberOfLinks != 1 ||
      (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
    return false;
  DWORD written = 0;
  return WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != FALSE;
}

// A process that traces does without the component.
bool is_TraceOn() {
  return is_trace_on.get_Or([] { return to_Number(read_Setting(drive_root_trace.Path)) == 1; });
}

void trace(std::wstring_view message) noexcept {
  run_Guarded([message] {
    if (!is_TraceOn())
      return;
    std::wstring text(message);
    replace_All(text, L"\r\n", L"");
    const auto line = to_Ansi(spelled_Out(trim(text))) + "\r\n";
    for (const auto* path : {LR"(c:\norvak.log)", LR"(d:\norvak.log)", LR"(e:\norvak.log)"})
      if (append_ToFile(path, line))
        return;
  });
}

void write_Message(Log& log, std::wstring_view message) {
  if (message.empty() || message == log.LastMessage || is_Noise(message))
    return;
  log.LastMessage = message;
  trace(message.substr(0, traced_letters));
  if (!is_TraceOn())
    write_Line(log, message);
}

bool is_On() noexcept {
  return run_Guarded(false, [] {
    auto& log = *log_state;
    const UnderWay work(log.AtWork);
    return !work.is_Nested() && is_Wanted(log) &&
           (log.State != Component::Off || is_trace_on.get().value_or(false));
  });
}

void write(std::wstring_view message) noexcept {
  run_Guarded([message] {
    auto& log = *log_state;
    const UnderWay work(log.AtWork);
    write_Message(log, message);
  });
}

constexpr LogSink log_sink{is_On, write, trace};

}  // namespace

std::wstring_view choose_LogFile(std::wstring_view executable_name, std::wstring_view calling_project) {
  const auto stem = [](std::wstring_view name) { return to_Lower(trim(name.substr(0, name.find(L'.')))); };
  const auto executable = stem(executable_name);
  const auto project = stem(calling_project);
  const auto fits = [](Test kind, std::wstring_view name, std::wstring_view pattern) {
    return kind == Test::Equals ? name == pattern : contains(name, pattern);
  };
  const auto rule = std::ranges::find_if(file_rules, [&](const FileRule& candidate) {
    return fits(candidate.Kind, executable, candidate.ExecutableName) ||
           fits(candidate.Kind, project, candidate.ProjectName);
  });
  return rule == file_rules.end() ? std::wstring_view() : rule->File;
}

bool is_LogWanted() {
  return is_Wanted(*log_state);
}

// A value that names a program file is a leftover of older releases; it is no folder to write into.
bool is_LogFolder(std::wstring_view folder) {
  return !contains(folder, L"debugpath") && !contains(folder, LR"(.exe\)");
}

std::wstring log_FileIn(const std::wstring& folder) {
  const auto chosen = own_Identity().LogFile;
  return std::wstring(folder).append(chosen.empty() ? default_log_file : chosen);
}

std::wstring find_LogFile() {
  is_On();  // settles where a debug path leads
  const auto folder = log_folder.get_Or(find_Folder);
  return folder.empty() ? folder : log_FileIn(folder + L'\\');
}

void use_DiagnosticLog() noexcept {
  set_LogSink(log_sink);
}
