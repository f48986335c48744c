// Which files come into being while an item is carried out. No state.
#pragma once

#include <windows.h>

#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace host {

// The folders, each with a backslash at its end, in which an action may leave files: those of the selected
// files, and selected folders themselves.
std::set<std::wstring> list_Folders(std::span<const std::wstring> selected);

// The files of the folders, not below them, each with when it was last written.
using KnownFiles = std::map<std::wstring, ULONGLONG>;
KnownFiles list_Files(const std::set<std::wstring>& folders);

// The files of the folders that are new, or were written, since `before` was listed.
std::vector<std::wstring> list_NewFiles(const std::set<std::wstring>& folders, const KnownFiles& before);

}  // namespace host
