#include "components/server_file.h"

#include <array>

#include "base/account.h"
#include "base/classes.h"
#include "base/guid.h"
#include "files/file_names.h"
#include "files/trust.h"

namespace {

// In an elevated process the system takes no notice of the classes that the user has made.
LSTATUS read_Server(REFCLSID clsid, REGSAM view, std::wstring& path) {
  const bool is_machines = is_Elevated();
  const auto key = std::wstring(is_machines ? machines_classes : L"") + LR"(CLSID\)" + guid_Text(clsid) +
                   LR"(\InprocServer32)";
  HKEY opened = nullptr;
  if (const LSTATUS status = RegOpenKeyExW(is_machines ? HKEY_LOCAL_MACHINE : HKEY_CLASSES_ROOT, key.c_str(),
                                           0, KEY_QUERY_VALUE | view, &opened);
      status != ERROR_SUCCESS)
    return status;
  const unique_hkey owner(opened);
  std::array<wchar_t, MAX_PATH> text{};
  DWORD size = sizeof text;
  const LSTATUS status = RegGetValueW(opened, nullptr, nullptr, RRF_RT_REG_SZ, nullptr, text.data(), &size);
  if (status == ERROR_SUCCESS)
    path = text.data();
  return status;
}

}  // namespace

// Where the system does not know that search, the folders of the process and the search path come after these
// two.
unique_hmodule load_Server(const std::wstring& path) {
  const bool is_full = is_FullPath(path);
  const DWORD search = LOAD_LIBRARY_SEARCH_SYSTEM32 | (is_full ? LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR : 0);
  unique_hmodule server(LoadLibraryExW(path.c_str(), nullptr, search));
  if (!server && is_full && GetLastError() == ERROR_INVALID_PARAMETER)
    server.reset(LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  return server;
}

// Whatever cannot be read could be anything.
bool prepare_Server(REFCLSID clsid, unique_hmodule& server) {
  std::wstring path;
  const LSTATUS status = read_Server(clsid, 0, path);
  if (status == ERROR_FILE_NOT_FOUND)
    return true;
  if (status == ERROR_SUCCESS && may_Obey(path))
    server = load_Server(path);
  return server != nullptr;
}

bool may_ObeyRemoteServer(REFCLSID clsid) {
  std::wstring path;
  return !is_Elevated() || (read_Server(clsid, KEY_WOW64_32KEY, path) == ERROR_SUCCESS && may_Obey(path));
}
