#include "base/owner_window.h"

#include <string_view>
#include <utility>

#include "base/apartment.h"
#include "base/boundary.h"
#include "base/log.h"

namespace {

constinit PerApartment<HWND> window;

}  // namespace

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
