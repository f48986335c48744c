// UTF-8 text in files that several processes write at the same time. No state.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace standins {

// The text in UTF-8; an unpaired surrogate becomes the replacement character.
std::string to_Utf8(std::wstring_view text);

// The UTF-8 bytes as UTF-16 text, without a leading byte order mark.
std::wstring from_Utf8(std::string_view bytes);

// Appends the line and CR LF to the file, which is created when missing (its folder is not). Lines of
// several writers never mix. Returns ERROR_SUCCESS or the platform's error code.
DWORD append_Line(const std::wstring& path, std::wstring_view line);

}  // namespace standins
