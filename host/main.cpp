// menuhost.exe: a console program that plays Explorer for the Norvak context menu.
#include <string_view>
#include <vector>

#include "host/program.h"

int wmain(int count, wchar_t** words) {
  return host::run_Words(std::vector<std::wstring_view>(words + 1, words + count));
}
