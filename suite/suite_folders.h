// The folders into which the suite installs. No state of its own.
#pragma once

#include <string>

// The system's common program files folder for 32-bit programs, which the suite's shared programs and
// components are put into, with a backslash at its end; empty when the system does not tell it.
std::wstring get_CommonProgramFolder();

// The full path of a file of the folder when that file exists; empty when it does not, may not be obeyed
// (files/trust.h), or the folder is no full path.
std::wstring find_InFolder(const std::wstring& folder, std::wstring_view file_name);
