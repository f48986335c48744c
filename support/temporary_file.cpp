#include "support/temporary_file.h"

#include <windows.h>

#include <sddl.h>

#include <objbase.h>

#include <utility>
#include <vector>

#include "support/boundary.h"
#include "support/guid.h"
#include "support/handles.h"
#include "support/process_values.h"
#include "support/user.h"

namespace {

struct Leftover {
  std::wstring Folder;
  std::wstring Path;
  ULONGLONG Due = 0;  // in the time of `GetTickCount64`
};

constinit Guarded<std::vector<Leftover>> leftovers;

constexpr ULONGLONG reading_time = 600'000;

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
  const auto access = L"D:P(A;OICI;FA;;;" + user + L")(A;OICI;FA;;;SY)";
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(access.c_str(), SDDL_REVISION_1, &descriptor,
                                                            nullptr))
    return false;
  const unique_local_memory owner(descriptor);
  SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor, FALSE};
  return CreateDirectoryW(path.c_str(), &attributes) != FALSE;
}

// Empty when the system names none.
std::wstring new_FolderName() {
  std::wstring folder(MAX_PATH + 1, L'\0');
  folder.resize(GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()));
  GUID number{};
  return folder.empty() || FAILED(CoCreateGuid(&number)) ? std::wstring()
                                                         : folder + L"nvk" + guid_Text(number);
}

}  // namespace

TemporaryFile::TemporaryFile(std::wstring_view name) {
  assert_Unlocked();
  delete_Leftovers();
  auto folder = new_FolderName();
  auto file = folder + L'\\' + std::wstring(name);
  if (folder.empty() || !make_OwnFolder(folder))
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
