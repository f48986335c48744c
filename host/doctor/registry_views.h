// The two views that a 64-bit Windows has of the registry, read from either bitness. No state.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "settings/registry_api.h"

namespace host {

bool is_64BitWindows();

// The view that Explorer reads.
REGSAM explorers_View();

// The value in a view (KEY_WOW64_64KEY, KEY_WOW64_32KEY, or 0 for this program's own), as `regread_api` has
// it.
RegistryValue read_InView(const std::wstring& path, REGSAM view);

// Its text, with environment variables in the place of their names where the value may have some.
std::wstring read_Path(const std::wstring& path, REGSAM view);

// There is such a value, empty or not.
bool has_Value(const std::wstring& path, REGSAM view);

// There is such a key; the path ends with a backslash.
bool has_Key(const std::wstring& path, REGSAM view);

// The names of the keys below one, whose path ends with a backslash; none when it cannot be read.
std::vector<std::wstring> list_Subkeys(const std::wstring& path, REGSAM view);

}  // namespace host
