#include "host/doctor/registry_views.h"

#include <array>
#include <string>

#include "base/module.h"
#include "files/file_names.h"

namespace host {
namespace {

unique_hkey open_InView(const std::wstring& path, REGSAM view) {
  return open_Key(find_Place(path), KEY_READ | view);
}

}  // namespace

bool is_64BitWindows() {
  BOOL is_emulated = FALSE;
  IsWow64Process(GetCurrentProcess(), &is_emulated);
  return !is_SuitesBitness || is_emulated;
}

REGSAM explorers_View() {
  return is_64BitWindows() ? KEY_WOW64_64KEY : 0;
}

RegistryValue read_InView(const std::wstring& path, REGSAM view) {
  return read_Entry(find_Place(path), view).Value;
}

std::wstring read_Path(const std::wstring& path, REGSAM view) {
  const auto entry = read_Entry(find_Place(path), view);
  auto text = as_Text(copy_Of(entry.Value));
  if (entry.Type != REG_EXPAND_SZ)
    return text;
  const auto expanded = fetch_Path(
      [&](wchar_t* buffer, DWORD size) { return ExpandEnvironmentStringsW(text.c_str(), buffer, size); });
  return expanded.substr(0, expanded.find(L'\0'));  // the length that is told includes the terminator
}

bool has_Value(const std::wstring& path, REGSAM view) {
  const auto key = open_InView(path, view);
  return key && RegQueryValueExW(key.get(), find_Place(path).Name.c_str(), nullptr, nullptr, nullptr,
                                 nullptr) == ERROR_SUCCESS;
}

std::vector<std::wstring> list_Subkeys(const std::wstring& path, REGSAM view) {
  constexpr DWORD longest_name = 256;
  std::vector<std::wstring> names;
  const auto key = open_InView(path, view);
  std::array<wchar_t, longest_name> name{};
  for (DWORD index = 0; key && RegEnumKeyW(key.get(), index, name.data(), longest_name) == ERROR_SUCCESS;
       ++index)
    names.emplace_back(name.data());
  return names;
}

bool has_Key(const std::wstring& path, REGSAM view) {
  return open_InView(path, view) != nullptr;
}

}  // namespace host
