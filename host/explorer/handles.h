// The owners of what only the host works with, beside those of base/handles.h.
#pragma once

#include <objbase.h>
#include <shtypes.h>
#include <windows.h>

#include "base/handles.h"

namespace host {

using unique_hmenu = unique_handle<HMENU, &DestroyMenu>;
using unique_hwnd = unique_handle<HWND, &DestroyWindow>;
using unique_id_list = unique_handle<PIDLIST_ABSOLUTE, &CoTaskMemFree>;
using unique_global_memory = unique_handle<HGLOBAL, &GlobalFree>;

}  // namespace host
