// Files as a whole: opened, read, written. No state.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

#include "base/handles.h"

namespace standins {

// The opened file; null, with the reason in the last error, when it cannot be opened.
unique_kernel_handle open_File(const std::wstring& path, DWORD access, DWORD share, DWORD disposition);

// The whole content of the file; nothing, with the reason in the last error, when it cannot be read.
std::optional<std::string> read_File(const std::wstring& path);

// Writes the file, in place of one that is there; one that could not be written whole is removed. Returns
// ERROR_SUCCESS or the platform's error code.
DWORD write_File(const std::wstring& path, std::string_view content);

}  // namespace standins
