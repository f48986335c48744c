#include "settings/registry_view.h"

#include "base/text.h"

namespace {

// Takes the first name with its backslash off the path; the whole path when it is the last one.
std::wstring_view take_Name(std::wstring_view& path) {
  const auto end = path.find(L'\\');
  const auto name = path.substr(0, end);
  path.remove_prefix(end == std::wstring_view::npos ? path.size() : end + 1);
  return name;
}

}  // namespace

std::wstring through_SuiteView(std::wstring_view path) {
  auto rest = path;
  const auto root = take_Name(rest);
  const bool is_machine =
      equals_IgnoringCase(root, L"HKLM") || equals_IgnoringCase(root, L"HKEY_LOCAL_MACHINE");
  std::wstring result(path);
  if (!is_machine || !equals_IgnoringCase(take_Name(rest), L"SOFTWARE"))
    return result;
  const auto place = path.size() - rest.size();
  const auto name = take_Name(rest);
  if (path[place - 1] == L'\\' && !equals_IgnoringCase(name, L"WOW6432Node") &&
      !equals_IgnoringCase(name, L"Classes"))
    result.insert(place, LR"(WOW6432Node\)");
  return result;
}
