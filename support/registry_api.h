// Plain reads of the registry by one path text: root, key path and value name joined by backslashes. No
// state.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// What a read delivers: text, or the bytes of a binary value. The empty text stands for "nothing there".
using RegistryValue = std::variant<std::wstring, std::vector<std::byte>>;

bool is_Empty(const RegistryValue& value);

// The text of a value; binary values have none.
std::wstring as_Text(RegistryValue value);

// Reads the value with the registry functions alone. The roots are HKLM, HKCU, HKCR, HKU and HKCC in any
// case; a path that ends in a backslash names the key's default value. REG_SZ and REG_EXPAND_SZ (not
// expanded) come as text, REG_DWORD as signed decimal text, REG_MULTI_SZ as one text separated by NULs,
// REG_BINARY as bytes. The empty text for every other type, a missing key or value, and a denied access.
RegistryValue regread_api(std::wstring_view path);
