#include "support/registry_view.h"

#include "support/text.h"

std::wstring through_SuiteView(std::wstring_view path) {
  const auto names = split_Views(path, L'\\');
  const auto is_At = [&names](std::size_t index, std::wstring_view name) {
    return equals_IgnoringCase(names[index], name);
  };
  std::wstring result(path);
  if (names.size() > 2 && (is_At(0, L"HKLM") || is_At(0, L"HKEY_LOCAL_MACHINE")) && is_At(1, L"SOFTWARE") &&
      !is_At(2, L"WOW6432Node") && !is_At(2, L"Classes"))
    result.insert(names[0].size() + names[1].size() + 2, LR"(WOW6432Node\)");
  return result;
}
