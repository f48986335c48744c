// The window that a thread's messages belong to, and that components are told. The thread keeps it.
#pragma once

#include <windows.h>

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
