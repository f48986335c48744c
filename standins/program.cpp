// Stands in for every program of the suite: it records that it was started, under the name of its own file,
// and how. The record file is named by the environment variable NORVAK_SUITE_RECORD, else it is
// command-lines.log beside the program; one line a start: file name, TAB, the command line as received.
// NORVAK_SUITE_SHOW (milliseconds) also shows the command line in a window for that long.
// The signing worker also signs the files in its queue, into signed.log beside the record file; with
// NORVAK_SUITE_WORK_DELAY (milliseconds) each list stays in the queue for that much longer.
#include <windows.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "standins/signing_worker.h"
#include "standins/utf8_file.h"

namespace {

constexpr UINT default_show_milliseconds = 3000;
constexpr UINT_PTR closing_timer = 1;
constexpr int window_width = 640;
constexpr int window_height = 120;
constexpr int text_margin = 12;

std::wstring read_Environment(const wchar_t* name) {
  std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
  value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return value;
}

std::filesystem::path find_ProgramFile() {
  std::array<wchar_t, 32768> buffer{};
  GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  return buffer.data();
}

UINT read_Milliseconds(const wchar_t* name) {
  return static_cast<UINT>(std::wcstoul(read_Environment(name).c_str(), nullptr, 10));
}

bool is_AskedToSign(const std::wstring& name) {
  return CompareStringOrdinal(name.c_str(), -1, L"NorvakWorkerProcess.exe", -1, TRUE) == CSTR_EQUAL &&
         __argc == 2 && __wargv[1] == std::wstring_view(L"signit");
}

void paint_CommandLine(HWND hwnd) {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(hwnd, &paint);
  RECT area;
  GetClientRect(hwnd, &area);
  InflateRect(&area, -text_margin, -text_margin);
  SelectObject(dc, GetStockObject(DEFAULT_GUI_FONT));
  SetBkMode(dc, TRANSPARENT);
  DrawTextW(dc, GetCommandLineW(), -1, &area, DT_WORDBREAK | DT_NOPREFIX | DT_EDITCONTROL);
  EndPaint(hwnd, &paint);
}

LRESULT CALLBACK handle_Message(HWND hwnd, UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_PAINT:
      paint_CommandLine(hwnd);
      return 0;
    case WM_TIMER:
    case WM_KEYDOWN:
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
      DestroyWindow(hwnd);
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcW(hwnd, message, wparam, lparam);
  }
}

void show_CommandLine(HINSTANCE instance, const std::wstring& title, UINT milliseconds) {
  WNDCLASSW window_class{};
  window_class.lpfnWndProc = handle_Message;
  window_class.hInstance = instance;
  window_class.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  window_class.hbrBackground = GetSysColorBrush(COLOR_WINDOW);
  window_class.lpszClassName = L"NorvakSuiteProgram";
  RegisterClassW(&window_class);
  const HWND hwnd = CreateWindowW(window_class.lpszClassName, title.c_str(), WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                                  CW_USEDEFAULT, CW_USEDEFAULT, window_width, window_height, nullptr, nullptr,
                                  instance, nullptr);
  // Without a timer nothing would ever close a window that nobody sees.
  if (hwnd == nullptr || SetTimer(hwnd, closing_timer, milliseconds, nullptr) == 0)
    return;
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0)
    DispatchMessageW(&message);
}

}  // namespace

// Records the start and, when asked to, shows it. The exit code is 0, the error of the record file
// or what stopped the signing.
int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
  const std::filesystem::path program = find_ProgramFile();
  const auto name = program.filename().wstring();
  std::filesystem::path record = read_Environment(L"NORVAK_SUITE_RECORD");
  if (record.empty())
    record = program.parent_path() / L"command-lines.log";
  const DWORD error = standins::append_Line(record.wstring(), name + L'\t' + GetCommandLineW());

  long work = S_OK;
  if (is_AskedToSign(name)) {
    work = standins::sign_QueuedFiles(record.parent_path() / L"signed.log",
                                      read_Milliseconds(L"NORVAK_SUITE_WORK_DELAY"));
  }
  if (!read_Environment(L"NORVAK_SUITE_SHOW").empty()) {
    const auto milliseconds = read_Milliseconds(L"NORVAK_SUITE_SHOW");
    show_CommandLine(instance, name, milliseconds == 0 ? default_show_milliseconds : milliseconds);
  }
  return error == ERROR_SUCCESS ? work : static_cast<int>(error);
}
