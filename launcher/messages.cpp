#include "launcher/messages.h"

#include <windows.h>

#include "base/boundary.h"
#include "base/log.h"
#include "base/owner_window.h"
#include "base/process_values.h"
#include "launcher/translation.h"

void show_Error(const std::wstring& text, const std::wstring& title) {
  assert_Unlocked();
  MessageBoxW(get_hwnd(), text.c_str(), title.c_str(), MB_OK | MB_ICONERROR);
}

void tell_Failure(const wchar_t* sentence, const std::vector<std::wstring>& names) noexcept {
  constexpr std::size_t most_names = 10;
  run_Guarded([&] {
    debug_Log(sentence);
    auto text = translate_String(sentence);
    for (std::size_t index = 0; index < names.size() && index < most_names; ++index)
      text.append(L"\r\n").append(names[index]);
    if (names.size() > most_names)
      text += L"\r\n...";
    show_Error(text, L"Norvak");
  });
}
