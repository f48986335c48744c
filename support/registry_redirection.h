// Where the suite's "pdf" branch is kept for this user: a user who may not write to HKLM keeps an own copy
// under HKCU. Settled once a process by a test write.
#pragma once

#include <string>
#include <string_view>

// Tests once a process whether this user may write to HKLM, by writing a number to the path (by default
// "HKLM\SOFTWARE\Norvak\ctest"), and settles where the "pdf" branch is kept.
void permtest(std::wstring_view test_path = {});

// Moves a path of the machine's "pdf" branch to the user's when this user keeps an own one. True if it moved.
bool redirect_ToUser(std::wstring& path);

// The path as it was before `redirect_ToUser` moved it.
std::wstring back_ToMachine(std::wstring path);
