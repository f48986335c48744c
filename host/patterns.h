// Paths with "*" and "?", which a Windows prompt hands over as they were typed. No state.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace host {

// The paths, with all files and folders that fit in place of one whose last name has "*" or "?", in the order
// of the file system; throws a Failure where none fits.
std::vector<std::wstring> expand_Patterns(std::span<const std::wstring> paths);

}  // namespace host
