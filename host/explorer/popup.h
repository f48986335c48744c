// The menu on the screen: a small window of the host's own to belong to, and the menu popped up at the
// pointer. No state.
#pragma once

#include <windows.h>

#include <optional>

#include "host/explorer/handles.h"

namespace host {

// Opens the window at the pointer that owns the menu, and brings it to the foreground.
unique_hwnd open_OwnerWindow();

// Pops the menu up at the pointer and waits; gives the identifier picked, nothing when the menu was left.
std::optional<UINT> pick_FromMenu(HMENU menu, HWND owner);

// Handles the messages that wait, so that windows repaint and close before the program goes on.
void handle_WaitingMessages();

}  // namespace host
