#include "host/explorer/popup.h"

#include "host/explorer/failure.h"
#include "host/language.h"

namespace host {
namespace {

constexpr wchar_t owner_class_name[] = L"NorvakMenuHostOwner";
constexpr int owner_size = 4;  // as good as hidden below the menu's corner, yet able to take the keyboard

POINT find_Pointer() {
  POINT pointer{};
  GetCursorPos(&pointer);
  return pointer;
}

}  // namespace

unique_hwnd open_OwnerWindow() {
  WNDCLASSW window_class{};
  window_class.lpfnWndProc = DefWindowProcW;
  window_class.hInstance = GetModuleHandleW(nullptr);
  window_class.lpszClassName = owner_class_name;
  RegisterClassW(&window_class);
  const auto pointer = find_Pointer();
  unique_hwnd owner(CreateWindowExW(WS_EX_TOOLWINDOW, owner_class_name, L"menuhost", WS_POPUP, pointer.x,
                                    pointer.y, owner_size, owner_size, nullptr, nullptr,
                                    window_class.hInstance, nullptr));
  if (!owner)
    throw Failure{say(TEXT_NO_WINDOW)};
  ShowWindow(owner.get(), SW_SHOWNORMAL);
  SetForegroundWindow(owner.get());
  handle_WaitingMessages();
  return owner;
}

std::optional<UINT> pick_FromMenu(HMENU menu, HWND owner) {
  const auto pointer = find_Pointer();
  const BOOL picked =
      TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, pointer.x, pointer.y, 0, owner, nullptr);
  // Without a message behind it, the next menu of a window that was not in front would vanish at once.
  PostMessageW(owner, WM_NULL, 0, 0);
  handle_WaitingMessages();
  return picked != 0 ? std::optional<UINT>(static_cast<UINT>(picked)) : std::nullopt;
}

void handle_WaitingMessages() {
  MSG message{};
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

}  // namespace host
