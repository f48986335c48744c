// Text files whose first bytes say that they are UTF-8 or UTF-16, as editors mark them. No state.
#pragma once

#include <optional>
#include <string>

// The text of a file with a mark. Nothing where it has none, cannot be read, or has a mebibyte or more.
std::optional<std::wstring> read_MarkedText(const std::wstring& path);

// Writes a file that is marked as UTF-8 or as UTF-16 of the other byte order once more, as the UTF-16 that
// the platform keeps when it writes an entry; all other files stay as they are. False when that fails, and
// then the file is as it was.
bool make_Utf16(const std::wstring& path);
