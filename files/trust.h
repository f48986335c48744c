// Who else could change a folder or file, as the access lists say.
#pragma once

#include <string>

// The topmost part of the path to the folder or file that somebody else could change: an account other than
// administrators, the system, whoever owns its programs and, in a process that is not elevated, this person,
// owns it, may replace it, or may write in the folder or the file itself; or it is a link. The path itself
// when it is not on a local drive or cannot be looked at, and empty where everything is closed.
std::wstring find_OpenPart(const std::wstring& path);

// Whether the folder or file may decide what is started, loaded or obeyed: in an elevated process only what
// is named and nobody else could change.
bool may_Obey(const std::wstring& path);
