#include "host/explorer/failure.h"

#include <windows.h>

namespace host {

std::wstring format_Result(long result) {
  wchar_t text[11];
  wsprintfW(text, L"0x%08lx", result);
  return text;
}

}  // namespace host
