#include "suite/suite_folders.h"

#include <windows.h>

#include <shlobj.h>

#include <utility>

#include "base/module.h"
#include "base/process_values.h"
#include "files/files.h"
#include "files/trust.h"

namespace {

constinit Settled<std::wstring> common_program_folder;

}  // namespace

std::wstring get_CommonProgramFolder() {
  if (auto known = common_program_folder.get())
    return *std::move(known);
  auto folder =
      get_SystemFolder(is_SuitesBitness ? CSIDL_PROGRAM_FILES_COMMON : CSIDL_PROGRAM_FILES_COMMONX86);
  return folder.empty() ? folder : common_program_folder.settle(std::move(folder));
}

std::wstring find_InFolder(const std::wstring& folder, std::wstring_view file_name) {
  auto path = full_Folder(folder);
  if (path.empty())
    return {};
  path.append(file_name);
  return file_Exists(path) && may_Obey(path) ? path : std::wstring();
}
