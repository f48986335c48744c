#include "launcher/messages.h"

#include <windows.h>

#include "launcher/translation.h"
#include "support/boundary.h"
#include "support/diagnostic_log.h"
#include "support/module.h"
#include "support/process_values.h"

void show_Error(const std::wstring& text, const std::wstring& title) {
  assert_Unlocked();
  MessageBoxW(get_hwnd(), text.c_str(), title.c_str(), MB_OK | MB_ICONERROR);
}

void tell_Failure(const wchar_t* sentence, std::wstring_view name) noexcept {
  run_Guarded([&] {
    debug_Log(sentence, name);
    auto text = translate_String(sentence);
    if (!name.empty())
      text.append(L"\r\n").append(name);
    show_Error(text, L"Norvak");
  });
}
