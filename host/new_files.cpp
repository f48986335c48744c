#include "host/new_files.h"

#include "base/text.h"
#include "files/file_names.h"
#include "files/files.h"

namespace host {

std::set<std::wstring> list_Folders(std::span<const std::wstring> selected) {
  std::set<std::wstring> folders;
  for (const std::wstring& path : selected)
    folders.insert(folder_Exists(path) ? with_Backslash(path) : std::wstring(through_Last(path, L'\\')));
  return folders;
}

KnownFiles list_Files(const std::set<std::wstring>& folders) {
  KnownFiles files;
  for (const std::wstring& folder : folders) {
    visit_Each(exact_Path(folder) + L'*', [&](const auto& found) {
      const auto& time = found.ftLastWriteTime;
      if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        files[folder + found.cFileName] = ULONGLONG{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    });
  }
  return files;
}

std::vector<std::wstring> list_NewFiles(const std::set<std::wstring>& folders, const KnownFiles& before) {
  std::vector<std::wstring> files;
  for (const auto& [path, time] : list_Files(folders)) {
    const auto known = before.find(path);
    if (known == before.end() || known->second != time)
      files.push_back(path);
  }
  return files;
}

}  // namespace host
