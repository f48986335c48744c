// Decides which of the ten items the selection gets and puts them into the shell's menu, one action-table
// record each. Kept for the life of the process: the translated captions.
#pragma once

#include <windows.h>

#include <shlobj.h>

#include "menu/items.h"

// The shell's `QueryContextMenu`, entered through the method table of `ShellExt`, whose object it does not
// need. Returns the number of command identifiers used, which is the shell's success code too; 0 when nothing
// was offered. `idCmdLast` is not looked at: five identifiers are the most that a selection gets.
HRESULT STDMETHODCALLTYPE QueryContextMenu(IContextMenu* object, HMENU hmenu, UINT indexMenu, UINT idCmdFirst,
                                           UINT idCmdLast, UINT uFlags) noexcept;
