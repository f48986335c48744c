// Files as a whole: opened, read, written. Keeps no state.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

#include "base/handles.h"

namespace suite {

/// The opened file; null, with the reason in the last error, when it cannot be opened.
unique_kernel_handle open_file(const std::wstring& path, DWORD access, DWORD share, DWORD disposition);

/// The whole content of the file; nothing, with the reason in the last error, when it cannot be read.
std::optional<std::string> read_file(const std::wstring& path);

/// Writes the file anew; one that could not be written whole is removed. Returns ERROR_SUCCESS or the
/// platform's error code.
DWORD write_file(const std::wstring& path, std::string_view content);

}  // namespace suite
