#include "standins/file_content.h"

#include <limits>

namespace standins {

unique_kernel_handle open_File(const std::wstring& path, DWORD access, DWORD share, DWORD disposition) {
  return own_File(
      CreateFileW(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

std::optional<std::string> read_File(const std::wstring& path) {
  const unique_kernel_handle file =
      open_File(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING);
  LARGE_INTEGER size{};
  if (!file || !GetFileSizeEx(file.get(), &size))
    return {};
  if (size.QuadPart > std::numeric_limits<int>::max()) {
    SetLastError(ERROR_FILE_TOO_LARGE);
    return {};
  }
  std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
  DWORD got = 0;
  if (!ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &got, nullptr))
    return {};
  bytes.resize(got);
  return bytes;
}

DWORD write_File(const std::wstring& path, std::string_view content) {
  unique_kernel_handle file = open_File(path, GENERIC_WRITE, 0, CREATE_ALWAYS);
  if (!file)
    return GetLastError();
  DWORD written = 0;
  const bool done =
      WriteFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr);
  const DWORD error = done ? ERROR_WRITE_FAULT : GetLastError();
  if (done && written == content.size())
    return ERROR_SUCCESS;
  file.reset();
  DeleteFileW(path.c_str());
  return error;
}

}  // namespace standins
