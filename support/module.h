// The DLL that this code lives in, and the window that a thread's messages belong to, which the thread keeps.
#pragma once

#include <windows.h>

#include <string>

// Whether the module runs as the suite does: 32-bit. Else it can load none of the suite's components, and has
// another view of the registry.
inline constexpr bool is_SuitesBitness = sizeof(void*) == 4;

// The module's own handle: resources are loaded from it.
HINSTANCE get_Module();

// Full path of the module's own file, or of another module's; of the program when that is null.
std::wstring get_ModulePath(HMODULE module = get_Module());

// The folder from which the module was loaded, with a backslash at its end.
std::wstring get_ModuleFolder();

// Keeps the handle of the window that owns message boxes and that components are told; 0 changes nothing.
void set_hwnd(HWND hwnd);

// The handle kept last; null when none was.
HWND get_hwnd();

// As long as it lives, that handle is this window, unless it is null.
class OwnerWindow {
 public:
  explicit OwnerWindow(HWND hwnd) noexcept;
  ~OwnerWindow();
  OwnerWindow(const OwnerWindow&) = delete;
  OwnerWindow& operator=(const OwnerWindow&) = delete;

 private:
  HWND m_before = nullptr;
  bool m_is_kept = false;
};
