#include "host/explorer/failure.h"

#include <windows.h>

namespace host {

std::wstring quote_text(std::wstring_view text) {
  return L"\"" + std::wstring(text) + L"\"";
}

std::wstring format_result(long result) {
  wchar_t text[11];
  wsprintfW(text, L"0x%08lx", result);
  return text;
}

}  // namespace host
