// The account that a module takes for its own, and the access lists that it takes for those of folders and
// files.
#pragma once

#include <windows.h>

#include <map>
#include <string>

// Tells the module that its process is elevated or not, and which account it has; the true one where that is
// empty. The emulation starts each program elevated, which an Explorer is not: so a case begins with `false`,
// and so does the DLL that it loads.
void pretend_Account(bool is_elevated, const std::wstring& sid = {},
                     HMODULE module = GetModuleHandleW(nullptr));

// What a path without an entry has: only administrators and the system change it.
const std::wstring closed_list = L"O:BAD:(A;;FA;;;BA)(A;;FA;;;SY)(A;;0x1200a9;;;BU)";

// Tells the module these owners and access lists, in the notation of the system ("link" for a link), by paths
// in small letters for the drive, without a backslash at the end.
using AccessLists = std::map<std::wstring, std::wstring>;
void pretend_AccessLists(const AccessLists& lists, HMODULE module = GetModuleHandleW(nullptr));
