// Drop lists (CF_HDROP): reading the paths out of a data object, and a data object of the host's own that
// offers nothing else. No state.
#pragma once

#include <objidl.h>
#include <windows.h>
#include <wrl/client.h>

#include <span>
#include <string>
#include <vector>

namespace host {

// The paths of the data object's drop list in their order; empty when it offers none.
std::vector<std::wstring> read_DropList(IDataObject* data_object);

// A data object that offers the paths as a drop list.
Microsoft::WRL::ComPtr<IDataObject> create_DropListObject(std::span<const std::wstring> paths);

}  // namespace host
