// Which files come into being while an item is carried out. No state.
#pragma once

#include <windows.h>

#include <map>
#include <span>
#include <string>
#include <vector>

namespace host {

// The files of some folders, each with when it was last written.
using KnownFiles = std::map<std::wstring, ULONGLONG>;

// The files beside the selected ones, and those in selected folders, not below them.
KnownFiles list_Files(std::span<const std::wstring> selected);

// The files of those folders that are new, or were written, since `before` was listed.
std::vector<std::wstring> list_NewFiles(std::span<const std::wstring> selected, const KnownFiles& before);

}  // namespace host
