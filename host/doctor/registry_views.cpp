#include "host/doctor/registry_views.h"

#include <cstring>
#include <string>

#include "base/module.h"
#include "settings/registry_api.h"

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

std::wstring read_InView(const std::wstring& path, REGSAM view) {
  const auto key = open_InView(path, view);
  const auto name = find_Place(path).Name;
  std::wstring text(512, L'\0');
  for (;;) {
    DWORD type = REG_NONE;
    auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    const auto status = RegGetValueW(key.get(), nullptr, name.c_str(), RRF_RT_REG_SZ | RRF_RT_REG_DWORD,
                                     &type, text.data(), &size);
    if (status == ERROR_MORE_DATA) {
      text.resize(text.size() * 2);
      continue;
    }
    if (status != ERROR_SUCCESS)
      return {};
    if (type == REG_DWORD) {
      DWORD number = 0;
      std::memcpy(&number, text.data(), sizeof number);
      return std::to_wstring(number);
    }
    return text.substr(0, text.find(L'\0'));
  }
}

bool has_Value(const std::wstring& path, REGSAM view) {
  const auto key = open_InView(path, view);
  return key && RegQueryValueExW(key.get(), find_Place(path).Name.c_str(), nullptr, nullptr, nullptr,
                                 nullptr) == ERROR_SUCCESS;
}

bool has_Key(const std::wstring& path, REGSAM view) {
  return open_InView(path, view) != nullptr;
}

}  // namespace host
