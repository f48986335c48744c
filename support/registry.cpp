#include "support/registry.h"

#include <windows.h>

#include <array>
#include <optional>

#include "support/automation.h"
#include "support/boundary.h"
#include "support/component_lifetime.h"
#include "support/diagnostic_log.h"
#include "support/files.h"
#include "support/registry_path.h"
#include "support/text.h"

namespace {

constexpr std::wstring_view write_test_path = LR"(HKLM\SOFTWARE\Norvak\ctest)";
constexpr std::wstring_view install_folder_path = LR"(HKLM\SOFTWARE\Norvak\pdf\path)";
constexpr std::wstring_view users_install_folder_path = LR"(HKCU\SOFTWARE\Norvak\pdf\path)";
constexpr std::wstring_view machine_branch = LR"(HKLM\SOFTWARE\Norvak\pdf)";
constexpr std::wstring_view users_branch = LR"(HKCU\SOFTWARE\Norvak\pdf)";
constexpr std::array<std::wstring_view, 2> usual_install_folders{LR"(c:\programme\bergstede\)",
                                                                 LR"(c:\program files\bergstede\)"};
constexpr DWORD busy_wait_ms = 100;

struct {
  bool Reading = false;
  bool Busy = false;
  bool Quiet = false;
  std::wstring LastPath;
  RegistryValue LastValue;
  std::wstring InstallFolder;
  bool PermtestRunning = false;
  std::optional<bool> MayWriteToMachine;  // settled by the write test
  KeptObject ScriptHost;
} state;  // lives as long as the process

// Another call may be at work on this thread (a read that logs, a log that reads); it gets one short chance
// to finish, never more, since a right-click must not wait.
class BusyMark {
 public:
  BusyMark() {
    if (state.Busy)
      Sleep(busy_wait_ms);
    state.Busy = true;
  }
  ~BusyMark() { state.Busy = false; }
  BusyMark(const BusyMark&) = delete;
  BusyMark& operator=(const BusyMark&) = delete;
};

bool create_ScriptHost() {
  state.ScriptHost.keep(create_Object(L"WScript.Shell"));
  release_Later(KeptUntil::ModuleUnloads, [] { state.ScriptHost.release(); });
  return state.ScriptHost.get() != nullptr;
}

void ensure_ScriptHost(std::wstring_view caller) {
  const bool works =
      call_Member(state.ScriptHost.get(), L"RegRead", {text_Argument(write_test_path)}).has_value();
  if (!works && !create_ScriptHost())
    debug_Log(L"regi.CreateCOMObject wscript.shell failed in ", caller);
}

bool write_ByScriptHost(std::wstring_view path, const _variant_t& value, const wchar_t* type) {
  return call_Member(state.ScriptHost.get(), L"RegWrite", {text_Argument(path), value, type}).has_value();
}

RegistryValue read_Value(std::wstring_view path) {
  auto value = regread_api(path);
  if (!is_Empty(value))
    return value;
  ensure_ScriptHost(L"regread");
  const auto answer = call_Member(state.ScriptHost.get(), L"RegRead", {text_Argument(path)});
  return answer ? as_Text(*answer) : std::wstring();
}

// Moves a path of the machine's "pdf" branch to the user's when this user keeps an own one. True if it moved.
bool redirect_ToUser(std::wstring& path) {
  permtest();
  const bool per_user = !state.MayWriteToMachine.value_or(true) && !is_ForceHKLM();
  if (!per_user || !contains(path, machine_branch))
    return false;
  replace_All(path, machine_branch, users_branch);
  path = apply_forceHKLM(path);
  return true;
}

RegistryValue read_Redirected(std::wstring path) {
  const bool redirected = redirect_ToUser(path);
  auto value = read_Value(path);
  if (redirected && is_Empty(value)) {
    replace_All(path, users_branch, machine_branch);
    value = read_Value(apply_forceHKLM(path));
  }
  return value;
}

bool is_InstallFolder(std::wstring_view folder) {
  return !folder.empty() && file_Exists(std::wstring(folder) + L"norvak.ico");
}

std::wstring find_InstallFolder() {
  if (is_InstallFolder(state.InstallFolder))
    return state.InstallFolder;
  for (const auto folder : usual_install_folders) {
    if (is_InstallFolder(folder)) {
      state.InstallFolder = folder;
      return state.InstallFolder;
    }
  }
  return {};
}

void repair_InstallFolder(const std::wstring& folder) {
  if (!is_Empty(regread_api(install_folder_path)))
    return;
  for (std::wstring path : {std::wstring(install_folder_path), std::wstring(users_install_folder_path)})
    regwrite_sz(path, folder);
}

bool is_Remembered(std::wstring_view path) {
  return !path.empty() && path == state.LastPath && !is_Empty(state.LastValue) && !contains(path, L"doexit");
}

// A doubled folder name in this one value came from an installer that appended its own folder twice.
void repair_InstallFolderValue(std::wstring_view path, std::wstring& value) {
  constexpr std::size_t shortest_folder = 5;
  if (!equals_IgnoringCase(path, LR"(HKLM\SOFTWARE\Norvak\pdfpath)"))
    return;
  replace_All(value, LR"(\pdf\pdf\)", LR"(\pdf\)");
  if (state.InstallFolder.size() > shortest_folder && state.InstallFolder.ends_with(LR"(\\)"))
    state.InstallFolder.pop_back();
}

RegistryValue read_Full(std::wstring_view path) {
  const auto folder = equals_IgnoringCase(path, install_folder_path) ? find_InstallFolder() : std::wstring();
  RegistryValue value = folder;
  if (folder.empty()) {
    const BusyMark busy;
    value = read_Redirected(std::wstring(path));
  } else if (path == install_folder_path) {
    repair_InstallFolder(folder);
  }
  return value;
}

}  // namespace

RegistryValue regread(std::wstring& path) {
  if (state.Reading) {
    normalise_ForRead(path);
    return regread_api(path);
  }
  if (state.Quiet)
    return std::wstring();
  state.Reading = true;
  const ScopeExit done([] { state.Reading = false; });
  normalise_ForRead(path);
  if (is_Remembered(path))
    return state.LastValue;
  auto value = read_Full(path);
  state.LastPath = path;
  state.LastValue = value;
  return value;
}

std::wstring regread_Text(std::wstring_view path) {
  std::wstring normalised(path);
  return as_Text(regread(normalised));
}

bool regwrite_sz(std::wstring& path, std::wstring value) {
  if (state.Quiet)
    return false;
  normalise_ForTextWrite(path);
  const BusyMark busy;
  std::wstring target = path;
  redirect_ToUser(target);
  repair_InstallFolderValue(target, value);
  ensure_ScriptHost(L"regwrite_sz");
  return write_ByScriptHost(target, text_Argument(value), L"REG_SZ");
}

bool regwrite_dw(std::wstring& path, long value) {
  if (state.Quiet)
    return false;
  normalise_ForWrite(path);
  const BusyMark busy;
  std::wstring target = path;
  redirect_ToUser(target);
  ensure_ScriptHost(L"regwrite_dw");
  return write_ByScriptHost(target, value, L"REG_DWORD");
}

void permtest(std::wstring_view test_path) {
  if (state.MayWriteToMachine || state.PermtestRunning)
    return;
  state.PermtestRunning = true;
  const ScopeExit done([] { state.PermtestRunning = false; });
  trace_Message(L"entering permtest");
  if (state.ScriptHost.get() == nullptr)
    create_ScriptHost();
  const long test_value = 1;
  state.MayWriteToMachine =
      write_ByScriptHost(test_path.empty() ? write_test_path : test_path, test_value, L"REG_DWORD");
  trace_Message(L"finished permtest");
}

void set_QuietState(bool quiet) {
  state.Quiet = quiet;
}

bool is_Quiet() {
  return state.Quiet;
}
