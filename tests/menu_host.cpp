#include "tests/menu_host.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "base/guid.h"
#include "base/handles.h"
#include "base/text.h"
#include "host/program.h"
#include "shellext/class_identifiers.h"

namespace {

void append_Shown(Lines& shown, const std::wstring& name, const std::wstring& mark) {
  const auto bytes = read_Bytes(test_folder + name);
  for (auto end = bytes.find('\n'); end != std::string::npos; end = bytes.find('\n', end + 1))
    EXPECT_TRUE(end != 0 && bytes[end - 1] == '\r') << "not the line end of a file";
  for (const auto& line : read_Lines(test_folder + name)) {
    EXPECT_FALSE(line.ends_with(L' ') || (line.size() > 120 && !line.starts_with(L'{'))) << to_Ansi(line);
    shown.push_back(mark + line);
  }
}

DWORD run_Here(const std::wstring& command, HANDLE output, HANDLE errors) {
  const auto own_output = GetStdHandle(STD_OUTPUT_HANDLE), own_errors = GetStdHandle(STD_ERROR_HANDLE);
  SetStdHandle(STD_OUTPUT_HANDLE, output);
  SetStdHandle(STD_ERROR_HANDLE, errors);
  const int status = host::run_CommandLine(command);
  SetStdHandle(STD_OUTPUT_HANDLE, own_output);
  SetStdHandle(STD_ERROR_HANDLE, own_errors);
  return static_cast<DWORD>(status);
}

}  // namespace

Lines run_MenuHost(const std::wstring& arguments, bool here) {
  auto command = ::quoted(built_File(L"menuhost.exe")) + L" " + arguments;
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const auto open = [&](const std::wstring& name) {
    return CreateFileW((test_folder + name).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       &inherited, CREATE_ALWAYS, 0, nullptr);
  };
  const unique_kernel_handle output(open(L"output")), errors(open(L"errors"));
  DWORD status = 0;
  std::wstring closed;
  if (here)
    status = run_Here(command, output.get(), errors.get());
  else {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.get();
    startup.hStdError = errors.get();
    PROCESS_INFORMATION started{};
    command.insert(0, ::quoted(built_File(LR"(standins\as-person.exe)")) + L" ");
    const auto is_started = CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                           nullptr, &startup, &started);
    EXPECT_TRUE(is_started);
    const unique_kernel_handle process(started.hProcess), thread(started.hThread);
    while (WaitForSingleObject(process.get(), 20) == WAIT_TIMEOUT) {
      const HWND box = FindWindowW(L"#32770", L"Configuration Problem");
      if (IsWindowVisible(box)) {
        SendMessageW(box, WM_COMMAND, IDOK, 0);
        closed += L" box";
      }
    }
    GetExitCodeProcess(process.get(), &status);
  }
  Lines shown;
  append_Shown(shown, L"output", L"");
  append_Shown(shown, L"errors", L"! ");
  shown.push_back(L"[" + std::to_wstring(status) + L"]" + closed);
  return shown;
}

void MenuHost::SetUp() {
  Explorer::SetUp();
  make_File(pdf);
  m_suite = install_Suite();
  EXPECT_EQ(m_library.run("DllRegisterServer"), S_OK);
}

void MenuHost::TearDown() {
  m_library.run("DllUnregisterServer");
  for (const auto& key : {LR"(CLSID\)" + component_id, LR"(WOW6432Node\CLSID\)" + component_id,
                          LR"(WOW6432Node\CLSID\)" + guid_Text(clsid_ShellExt), LR"(AppID\)" + component_id})
    RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
}
