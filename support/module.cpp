#include "support/module.h"

#include <utility>

#include "support/apartment.h"
#include "support/boundary.h"
#include "support/diagnostic_log.h"

// The linker puts this symbol at the module's start, so its address is the module's handle without an entry
// point having to store it.
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace {

constinit PerApartment<HWND> window;

}  // namespace

HINSTANCE get_Module() {
  return reinterpret_cast<HINSTANCE>(&__ImageBase);
}

std::wstring get_ModulePath(HMODULE module) {
  constexpr std::size_t longest_path = 32768;
  std::wstring path(longest_path, L'\0');
  return path.substr(0, GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
}

std::wstring get_ModuleFolder() {
  const auto path = get_ModulePath();
  return path.substr(0, path.rfind(L'\\') + 1);
}

void set_hwnd(HWND hwnd) {
  constexpr std::wstring_view name = L"Calling set_hwnd (byteoperation) with value: ";
  constexpr std::wstring_view finished = L"Finished calling set_hwnd (byteoperation) with value: ";
  const long number = static_cast<long>(reinterpret_cast<LONG_PTR>(hwnd));
  debug_Log(name, number);
  if (hwnd != nullptr)
    *window = hwnd;
  debug_Log(finished, number);
}

HWND get_hwnd() {
  return *window;
}

OwnerWindow::OwnerWindow(HWND hwnd) noexcept {
  run_Guarded([&] {
    if (hwnd == nullptr)
      return;
    m_before = std::exchange(*window, hwnd);
    m_is_kept = true;
  });
}

OwnerWindow::~OwnerWindow() {
  if (m_is_kept)
    run_Guarded([this] { *window = m_before; });
}
