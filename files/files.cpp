#include "files/files.h"

#include <windows.h>

#include <shlobj.h>

#include "base/handles.h"
#include "base/process_values.h"
#include "base/text.h"
#include "files/file_names.h"

namespace {

// Invalid for what is not there.
DWORD attributes_Of(const std::wstring& path) {
  assert_Unlocked();
  const auto exact = exact_Path(path);
  return exact.empty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(exact.c_str());
}

// False when there is one that could not be written.
bool copy_Mark(const std::wstring& from, const std::wstring& to) {
  constexpr const wchar_t* stream = L":Zone.Identifier";
  constexpr std::size_t longest_mark = 4096;
  const auto mark = own_File(CreateFileW((from + stream).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                         OPEN_EXISTING, 0, nullptr));
  std::string bytes(longest_mark, '\0');
  DWORD length = 0;
  if (!mark || !ReadFile(mark.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &length, nullptr))
    return true;
  const auto copy = own_File(CreateFileW((to + stream).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                         FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  return copy && WriteFile(copy.get(), bytes.data(), length, &written, nullptr) && written == length;
}

}  // namespace

std::wstring full_Folder(std::wstring_view folder) {
  auto full = with_Backslash(folder);
  return is_FullPath(full) ? full : std::wstring();
}

bool file_Exists(const std::wstring& path) {
  const DWORD attributes = attributes_Of(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool has_Content(const std::wstring& path) {
  assert_Unlocked();
  WIN32_FILE_ATTRIBUTE_DATA data{};
  return GetFileAttributesExW(exact_Path(path).c_str(), GetFileExInfoStandard, &data) &&
         (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 &&
         (data.nFileSizeLow != 0 || data.nFileSizeHigh != 0);
}

bool folder_Exists(const std::wstring& path) {
  const DWORD attributes = attributes_Of(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool copy_WithOrigin(const std::wstring& from, const std::wstring& to, const std::wstring& origin) {
  constexpr BOOL fail_if_exists = TRUE;
  const auto copy = exact_Path(to);
  if (!CopyFileW(exact_Path(from).c_str(), copy.c_str(), fail_if_exists))
    return false;
  if (copy_Mark(exact_Path(origin), copy))
    return true;
  DeleteFileW(copy.c_str());  // the system would take it for a file of this machine's own
  return false;
}

bool move_ToNewFile(const std::wstring& from, const std::wstring& to) {
  return MoveFileExW(exact_Path(from).c_str(), exact_Path(to).c_str(), 0) != FALSE;
}

bool delete_File(const std::wstring& path) {
  return DeleteFileW(exact_Path(path).c_str()) != FALSE;
}

// What is opened for writing may be a link that somebody has put there; what is renamed takes its place.
bool replace_File(const std::wstring& path, std::string_view bytes) {
  const auto exact = exact_Path(path);
  const auto made = exact + L"." + decimal(static_cast<long long>(GetTickCount64()));
  auto file = own_File(CreateFileW(made.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                   FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  if (!file)
    return false;
  DWORD written = 0;
  const bool is_written =
      WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
      written == bytes.size();
  file.reset();
  if (is_written && MoveFileExW(made.c_str(), exact.c_str(), MOVEFILE_REPLACE_EXISTING))
    return true;
  DeleteFileW(made.c_str());
  return false;
}

std::wstring get_SystemFolder(int csidl) {
  assert_Unlocked();
  std::wstring folder(MAX_PATH, L'\0');
  if (FAILED(SHGetFolderPathW(nullptr, csidl, nullptr, SHGFP_TYPE_CURRENT, folder.data())))
    return {};
  return with_Backslash(folder.c_str());
}
