#include "components/server_file.h"

#include <array>

#include "base/account.h"
#include "base/classes.h"
#include "base/guid.h"
#include "files/file_names.h"
#include "files/trust.h"

namespace {

// In an elevated process the system takes no notice of the classes that the user has made.
std::wstring find_Server(REFCLSID clsid, REGSAM view) {
  const bool is_machines = is_Elevated();
  const auto key = std::wstring(is_machines ? machines_classes : L"") + LR"(CLSID\)" + guid_Text(clsid) +
                   LR"(\InprocServer32)";
  HKEY opened = nullptr;
  if (RegOpenKeyExW(is_machines ? HKEY_LOCAL_MACHINE : HKEY_CLASSES_ROOT, key.c_str(), 0,
                    KEY_QUERY_VALUE | view, &opened) != ERROR_SUCCESS)
    return {};
  const unique_hkey owner(opened);
  std::array<wchar_t, MAX_PATH> path{};
  DWORD size = sizeof path;
  return RegGetValueW(opened, nullptr, nullptr, RRF_RT_REG_SZ, nullptr, path.data(), &size) == ERROR_SUCCESS
             ? path.data()
             : L"";
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

bool prepare_Server(REFCLSID clsid, unique_hmodule& server) {
  const auto path = find_Server(clsid, 0);
  if (path.empty())
    return true;
  if (may_Obey(path))
    server = load_Server(path);
  return server != nullptr;
}

bool may_ObeyRemoteServer(REFCLSID clsid) {
  return !is_Elevated() || may_Obey(find_Server(clsid, KEY_WOW64_32KEY));
}
