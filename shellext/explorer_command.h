// The extension as the first menu of Windows 11 asks for it: one verb, whose children are the items that the
// classic menu has for the same selection. Each object keeps what it needs by itself: the verb the kind of
// the selection that it was last asked about, a child its caption and its action. So neither another window
// nor the classic menu changes anything for them.
#pragma once

#include <windows.h>

// A new verb, asked for the interface. E_OUTOFMEMORY when there is no memory for one.
HRESULT create_ExplorerCommand(REFIID iid, void** object) noexcept;
