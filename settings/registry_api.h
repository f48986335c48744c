// The registry functions alone: reads by one path text (root, key path and value name joined by backslashes),
// and what lies behind a place that such a path names. No state.
#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/handles.h"

// What a read delivers: text, or the bytes of a binary value. The empty text stands for "nothing there".
using RegistryValue = std::variant<std::wstring, std::vector<std::byte>>;

bool is_Empty(const RegistryValue& value);

// A copy. What the standard library's own one does when memory runs out is undefined (GCC 12).
RegistryValue copy_Of(const RegistryValue& value);

// The text of a value; binary values have none.
std::wstring as_Text(RegistryValue value);

struct RegistryPlace {
  HKEY Root;
  std::wstring Key;
  std::wstring Name;
};

// Takes a path apart at its first and last backslash; no root when it names none that `regread_api` knows.
RegistryPlace find_Place(std::wstring_view path);

// A path that is taken apart once: the script host goes by its text, all else by its place.
struct SettingPath {
  explicit SettingPath(std::wstring text) : Text(std::move(text)), Place(find_Place(Text)) {}

  std::wstring Text;
  RegistryPlace Place;
};

// Reads the value with the registry functions alone. The roots are HKLM, HKCU, HKCR, HKU and HKCC in any
// case; a path that ends in a backslash names the key's default value. REG_SZ and REG_EXPAND_SZ (not
// expanded) come as text, REG_DWORD as signed decimal text, REG_MULTI_SZ as one text separated by NULs,
// REG_BINARY as bytes. The empty text for every other type, a missing key or value, and a denied access.
RegistryValue regread_api(std::wstring_view path);

// The same with whether there is certainly no such value. Where that is not so, an empty one may be denied,
// of another type, or named by letters that the code page has not.
struct ApiAnswer {
  RegistryValue Value;
  bool IsMissing = false;
};
ApiAnswer ask_Registry(const SettingPath& path);

struct RegistryEntry {
  std::wstring Name;
  DWORD Type = REG_NONE;
  RegistryValue Value;

  bool operator==(const RegistryEntry&) const = default;
};

// The key, opened with these access rights; null when that failed.
unique_hkey open_Key(const RegistryPlace& place, DWORD access);

// The value as `regread_api` has it, in letters of any language; empty for text that has no terminator.
// `view` is KEY_WOW64_64KEY, KEY_WOW64_32KEY or this program's own.
RegistryEntry read_Entry(const RegistryPlace& place, DWORD view = 0);
