#include "standins/utf8_file.h"

#include "standins/file_content.h"

namespace standins {
namespace {

// A writer holds the file for the time of one write only; whoever still cannot have it after this long gives
// up, because the writer may be Explorer's own thread.
constexpr ULONGLONG longest_wait_milliseconds = 2000;

// Append access makes Windows place each write at the end of the file in one step. Wine looks for the end
// and writes there in two, and lines of several processes overwrote each other: so no two writers have the
// file open at once. Readers are not kept out.
unique_kernel_handle open_ForAppend(const std::wstring& path) {
  const ULONGLONG start = GetTickCount64();
  for (;;) {
    unique_kernel_handle file =
        open_File(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_ALWAYS);
    if (file || GetLastError() != ERROR_SHARING_VIOLATION ||
        GetTickCount64() - start > longest_wait_milliseconds)
      return file;
    Sleep(1);
  }
}

}  // namespace

std::string to_Utf8(std::wstring_view text) {
  const auto length = static_cast<int>(text.size());
  const auto needed = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(needed), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), needed, nullptr, nullptr);
  return bytes;
}

std::wstring from_Utf8(std::string_view bytes) {
  constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
  if (bytes.starts_with(byte_order_mark))
    bytes.remove_prefix(byte_order_mark.size());
  const auto length = static_cast<int>(bytes.size());
  const auto needed = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(needed), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, text.data(), needed);
  return text;
}

DWORD append_Line(const std::wstring& path, std::wstring_view line) {
  const std::string bytes = to_Utf8(line) + "\r\n";
  const unique_kernel_handle file = open_ForAppend(path);
  if (!file)
    return GetLastError();
  DWORD written = 0;
  if (!WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
    return GetLastError();
  return written == bytes.size() ? ERROR_SUCCESS : ERROR_WRITE_FAULT;
}

}  // namespace standins
