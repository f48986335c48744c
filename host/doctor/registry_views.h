// The two views that a 64-bit Windows has of the registry, read from either bitness. No state.
#pragma once

#include <windows.h>

#include <string>

namespace host {

bool is_64BitWindows();

// The view that Explorer reads.
REGSAM explorers_View();

// The text of a value in a view (KEY_WOW64_64KEY, KEY_WOW64_32KEY, or 0 for this program's own), a number in
// decimal; empty where there is none. Paths as `regread_api` takes them.
std::wstring read_InView(const std::wstring& path, REGSAM view);

// There is such a value, empty or not.
bool has_Value(const std::wstring& path, REGSAM view);

// There is such a key; the path ends with a backslash.
bool has_Key(const std::wstring& path, REGSAM view);

}  // namespace host
