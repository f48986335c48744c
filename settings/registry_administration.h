// Keys and values for the suite's other programs. A path is root\key path, for the value members root\key
// path\value name with a trailing backslash for the default value; paths are repaired as for `regwrite_dw`,
// and the members that write keep the "pdf" branch where that one does. Each member asks the registry
// provider and goes other ways where that is missing or lacks the method. While the quiet state is set,
// nothing is done and the answer is false or no entries, as for a path without a known root. No state of its
// own.
#pragma once

#include "settings/registry_api.h"

// Makes the key with all keys above it. True also when it is there already.
bool createkey(std::wstring_view path);

// Removes the key with its values. False for a key that has subkeys, which stays, and for a missing one.
bool deletekey(std::wstring_view path);

// Writes a value in the form in which `regread_api` delivers its type; makes the key when it is missing.
// False for a type other than its five and for a value that does not fit the type: text in place of bytes, no
// number where there must be one, a NUL in a single text, an empty text in a list.
bool createvalue(std::wstring_view path, DWORD type, const RegistryValue& value);

// The names of the subkeys.
std::vector<std::wstring> EnumKey(std::wstring_view path);

// The values of the key, in the form in which `regread_api` delivers their types; empty for every other type.
std::vector<RegistryEntry> EnumValues(std::wstring_view path);

// Whether this user has these access rights (KEY_READ and the like) to the key.
bool CheckAccess(std::wstring_view path, DWORD access);
