// The selection that the extension is shown: the paths of the command line as a data object, made by the
// shell where it can. No state.
#pragma once

#include <objidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <span>
#include <string>
#include <vector>

namespace host {

struct Selection {
  std::vector<std::wstring> Paths;
  Microsoft::WRL::ComPtr<IDataObject> DataObject;
  bool IsFromShell = false;  // false: the shell's data object lacked paths and the host's own stands in
};

// Makes the paths full and selects them; throws a Failure for one that does not exist.
Selection make_Selection(std::span<const std::wstring> paths);

}  // namespace host
