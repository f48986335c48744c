#include "files/temporary_file.h"

#include <windows.h>

#include <sddl.h>

#include <objbase.h>

#include <bit>
#include <utility>
#include <vector>

#include "base/account.h"
#include "base/boundary.h"
#include "base/guid.h"
#include "base/handles.h"
#include "base/process_values.h"
#include "files/file_names.h"
#include "files/files.h"
#include "files/user.h"

namespace {

struct Leftover {
  std::wstring Folder;
  std::wstring Path;
  ULONGLONG Due = 0;  // in the time of `GetTickCount64`
};

constinit Guarded<std::vector<Leftover>> leftovers;

constexpr ULONGLONG reading_time = 600'000;
constexpr std::wstring_view folder_beginning = L"nvk";
constexpr LONGLONG longest_use = 24LL * 3600 * 10'000'000;  // in the units of `FILETIME`

// Needs no memory. False when something of it is still there.
bool delete_Both(const std::wstring& folder, const std::wstring& path) noexcept {
  DeleteFileW(path.c_str());
  return RemoveDirectoryW(folder.c_str()) != FALSE || GetLastError() == ERROR_FILE_NOT_FOUND ||
         GetLastError() == ERROR_PATH_NOT_FOUND;
}

void remember(Leftover leftover) {
  leftovers.with([&leftover](auto& known) { known.push_back(std::move(leftover)); });
}

void delete_Leftovers() {
  auto all = leftovers.with([](auto& known) { return std::exchange(known, {}); });
  std::erase_if(
      all, [](const auto& one) { return GetTickCount64() >= one.Due && delete_Both(one.Folder, one.Path); });
  leftovers.with([&all](auto& known) {
    known.swap(all);
    known.insert(known.end(), all.begin(), all.end());
  });
}

// False when it could not be made, or is there already: somebody else may have made it.
bool make_OwnFolder(const std::wstring& path) {
  const auto user = get_UserSid();
  if (user.empty())
    return false;
  const auto access = L"O:" + user + L"D:P(A;OICI;FA;;;" + user + L")(A;OICI;FA;;;SY)";
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(access.c_str(), SDDL_REVISION_1, &descriptor,
                                                            nullptr))
    return false;
  const unique_local_memory owner(descriptor);
  SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor, FALSE};
  return CreateDirectoryW(path.c_str(), &attributes) != FALSE;
}

bool is_Old(const FILETIME& time) {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return std::bit_cast<LONGLONG>(now) - std::bit_cast<LONGLONG>(time) > longest_use;
}

// Anyone may have put something of such a name there. While the folder is held, nothing else can take its
// place.
bool is_HeldForUser(HANDLE folder) {
  BY_HANDLE_FILE_INFORMATION about{};
  return GetFileInformationByHandle(folder, &about) &&
         (about.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 && is_Old(about.ftLastWriteTime) &&
         is_OwnedByUser(folder);
}

void delete_OldFolder(const std::wstring& folder) {
  {
    const auto held = own_File(CreateFileW(
        folder.c_str(), READ_CONTROL | FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!held || !is_HeldForUser(held.get()))
      return;
    visit_Each(folder + LR"(\*)",
               [&](const auto& found) { DeleteFileW((folder + L'\\' + found.cFileName).c_str()); });
  }
  RemoveDirectoryW(folder.c_str());
}

// What processes that were ended have left behind.
void delete_OldFolders(const std::wstring& parent) {
  if (parent.empty())
    return;
  visit_Each(parent + std::wstring(folder_beginning) + L"{*}",
             [&parent](const auto& found) { delete_OldFolder(parent + found.cFileName); });
}

}  // namespace

TemporaryFile::TemporaryFile(std::wstring_view name) {
  assert_Unlocked();
  const auto parent = fetch_Path([](wchar_t* text, DWORD room) { return GetTempPathW(room, text); });
  delete_Leftovers();
  delete_OldFolders(parent);
  GUID number{};
  if (parent.empty() || FAILED(CoCreateGuid(&number)))
    return;
  auto folder = parent + std::wstring(folder_beginning) + guid_Text(number);
  auto file = folder + L'\\' + std::wstring(name);
  if (!make_OwnFolder(folder))
    return;
  m_folder.swap(folder);
  m_path.swap(file);
}

TemporaryFile::~TemporaryFile() {
  if (!m_folder.empty() && !delete_Both(m_folder, m_path))
    run_Guarded([this] { remember({m_folder, m_path}); });
}

void TemporaryFile::keep_ForReader() {
  remember({m_folder, m_path, GetTickCount64() + reading_time});
  m_folder.clear();
}
