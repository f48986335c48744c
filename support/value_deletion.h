// The one member of the registry administration that the extension itself needs: a setting that goes to an
// INI file leaves no copy in the registry. Paths and ways as in registry_administration.h. No state.
#pragma once

#include <string_view>

// The mark that leaves INI files alone.
inline constexpr std::wstring_view force_registry = L"forceregistry";

// Removes the value, in INI mode from the INI files too unless the mark is given. False when it is missing.
bool deletevalue(std::wstring_view path, std::wstring_view mark = {});
