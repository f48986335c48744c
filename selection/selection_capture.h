// Captures what the shell hands over as the selection of a menu. No state.
#pragma once

#include <windows.h>

#include <objidl.h>
#include <shobjidl.h>

#include <string>

#include "selection/selection.h"

// The selection of the data object, analysed. It is empty when the object refuses the drop list or hands it
// over in another medium than memory. Short paths are read only where the log is on or a long path is blank;
// they are appended to the list, which is trimmed of blanks. An envelope in the selection has the icons of
// its kind repaired.
Selection capture_Selection(IDataObject* lpdobj, std::wstring& m_szShortFile);

// The same for items of the shell. Those that are no files, as a printer, are left out, as they are in a drop
// list.
Selection capture_Selection(IShellItemArray* items);
