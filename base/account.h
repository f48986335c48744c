// The account that this process runs under. Elevation and the kind of account are asked once a process.
#pragma once

#include <windows.h>

#include <string>

// The text of an identifier ("S-1-..."); empty for none, and when there is no memory.
std::wstring sid_Text(PSID sid);

// The identifier of the process's account; empty when the system does not tell it.
std::wstring get_UserSid();

// Whether the process has an administrator's rights that the person's other programs have not. Where the
// system does not tell, it counts as elevated.
bool is_Elevated() noexcept;

// Whether the process belongs to the system or to a service, and so to no person: S-1-5-18 to 20 and 80 to
// 111. No where the system does not tell.
bool is_ServiceAccount() noexcept;
