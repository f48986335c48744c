// The person who is logged on. No state.
#pragma once

#include <windows.h>

#include <string>

// The logon name; empty when the system does not tell it.
std::wstring get_UserName();

// The person owns the file or folder, which is open with the right to read its owner; a group's is not the
// person's own.
bool is_OwnedByUser(HANDLE file);

// The folder of the person's documents, without a backslash at its end; empty when there is none.
std::wstring get_DocumentsFolder();
