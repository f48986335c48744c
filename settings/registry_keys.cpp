#include "settings/registry_keys.h"

#include <span>

#include "base/text.h"

bool create_Key(const RegistryPlace& place) {
  HKEY key = nullptr;
  RegCreateKeyExW(place.Root, place.Key.c_str(), 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr);
  return unique_hkey(key) != nullptr;
}

std::optional<std::vector<std::wstring>> list_Key(const RegistryPlace& place, KeyContent content) {
  constexpr std::size_t name_buffer_size = 16384;  // a value's longest name; a key's is shorter
  const auto key = open_Key(place, KEY_READ);
  std::vector<std::wstring> names;
  for (std::wstring name(name_buffer_size, L'\0');;) {
    auto size = static_cast<DWORD>(name.size());
    const auto index = static_cast<DWORD>(names.size());
    const LSTATUS status =
        content == KeyContent::Subkeys
            ? RegEnumKeyExW(key.get(), index, name.data(), &size, nullptr, nullptr, nullptr, nullptr)
            : RegEnumValueW(key.get(), index, name.data(), &size, nullptr, nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS)
      return status == ERROR_NO_MORE_ITEMS ? std::optional(names) : std::nullopt;
    names.push_back(name.substr(0, size));
  }
}

bool write_Value(const RegistryPlace& place, DWORD type, const RegistryValue& value) {
  const auto* bytes = std::get_if<std::vector<std::byte>>(&value);
  const auto text = as_Text(value) + (type == REG_MULTI_SZ ? std::wstring(1, L'\0') : std::wstring());
  const long number = to_Number(text).value_or(0);
  auto content = std::as_bytes(std::span(text.c_str(), text.size() + 1));
  if (type == REG_DWORD)
    content = std::as_bytes(std::span(&number, 1));
  if (bytes != nullptr)
    content = *bytes;
  create_Key(place);  // where this fails, the next step does too
  return RegSetKeyValueW(place.Root, place.Key.c_str(), place.Name.c_str(), type, content.data(),
                         static_cast<DWORD>(content.size())) == ERROR_SUCCESS;
}
