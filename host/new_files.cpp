#include "host/new_files.h"

#include <set>

#include "base/handles.h"
#include "base/text.h"
#include "files/file_names.h"
#include "files/files.h"

namespace host {
namespace {

std::wstring watched_Folder(const std::wstring& path) {
  return folder_Exists(path) ? with_Backslash(path) : path.substr(0, path.find_last_of(L'\\') + 1);
}

void append_Files(KnownFiles& files, const std::wstring& folder) {
  WIN32_FIND_DATAW found{};
  const HANDLE opened = FindFirstFileW((exact_Path(folder) + L'*').c_str(), &found);
  const unique_search search(opened == INVALID_HANDLE_VALUE ? nullptr : opened);
  for (bool is_found = search != nullptr; is_found; is_found = FindNextFileW(search.get(), &found) != FALSE) {
    const auto& time = found.ftLastWriteTime;
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
      files[folder + found.cFileName] = ULONGLONG{time.dwHighDateTime} << 32 | time.dwLowDateTime;
  }
}

}  // namespace

KnownFiles list_Files(std::span<const std::wstring> selected) {
  std::set<std::wstring> folders;
  for (const std::wstring& path : selected)
    folders.insert(watched_Folder(path));
  KnownFiles files;
  for (const std::wstring& folder : folders)
    append_Files(files, folder);
  return files;
}

std::vector<std::wstring> list_NewFiles(std::span<const std::wstring> selected, const KnownFiles& before) {
  std::vector<std::wstring> files;
  for (const auto& [path, time] : list_Files(selected)) {
    const auto known = before.find(path);
    if (known == before.end() || known->second != time)
      files.push_back(path);
  }
  return files;
}

}  // namespace host
