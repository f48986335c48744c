// UTF-8 text in files that several processes write at the same time. Keeps no state.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace suite {

/// The text in UTF-8; an unpaired surrogate becomes the replacement character.
std::string convert_to_utf8(std::wstring_view text);

/// The UTF-8 bytes as UTF-16 text, without a leading byte order mark.
std::wstring convert_from_utf8(std::string_view bytes);

/// Appends the line and CR LF to the file, which is created when missing (its folder is not). Lines of
/// several writers never mix. Returns ERROR_SUCCESS or the platform's error code.
DWORD append_line(const std::wstring& path, std::wstring_view line);

}  // namespace suite
