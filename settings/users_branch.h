// Where the suite's "pdf" branch is kept for this user: a user who may not write to HKLM keeps an own copy
// under HKCU. Settled once a process by a test write.
#pragma once

#include <string>
#include <string_view>

// Tests once a process whether this user may write to HKLM, by writing a number to the path (by default
// "HKLM\SOFTWARE\Norvak\ctest"), and settles where the "pdf" branch is kept.
void permtest(std::wstring_view test_path = {});

// The path in the user's branch, for one of the machine's "pdf" branch when this user keeps an own one; else
// empty.
std::wstring users_Path(std::wstring_view asked);

// That path, or the machine's where there is none.
std::wstring written_Path(std::wstring_view path);
