// The forms of a file's name. Within the product a name is the one that the file system has; the platform
// and other programs may take it for another file's, and then get a form that says which one is meant. No
// state.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

// The path starts at a drive's root or names a network share, and so means the same in every current folder.
bool is_FullPath(std::wstring_view path);

// The form by which the platform, and the components of the suite, reach just this file: the path itself, or
// behind "\\?\" where it is longer than the platform takes (259 letters) or would be resolved into another
// one (blanks or dots at the end of a name, names of devices). A drive alone means its root. Empty for a path
// that is not full, as it names another file in each current folder, and for one of a device.
std::wstring exact_Path(std::wstring_view path);

// The form for a command line, as programs of the suite may use the system's code page: the path itself where
// the code page has all of it, else its short (8.3) form, else the exact path.
std::wstring argument_Path(std::wstring_view path);

// What a routine of the platform of the form (buffer, size) writes, which answers the length, or the size
// that it needs; empty when it fails.
template <typename Routine>
std::wstring fetch_Path(Routine routine) {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const auto room = static_cast<DWORD>(path.size());
    const DWORD length = routine(path.data(), room);
    path.resize(length < room ? length : length + std::size_t{1});
    if (length < room)
      return path;
  }
}

// The path with all names in their 8.3 form. Empty when the file is not there; the long names stay where the
// file system keeps no short ones.
std::wstring short_Path(std::wstring_view path);
