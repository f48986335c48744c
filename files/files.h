// Questions to the file system, where every failure, a path that is not full or not readable included, counts
// as "not there", and small changes to it, which tell whether they were made. Paths are taken exactly
// (`exact_Path`). No state.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "base/handles.h"

// The folder with a backslash at its end; empty unless that is a full path. A setting that names no full path
// would have programs and components taken from the current folder, into which anyone may have put files.
std::wstring full_Folder(std::wstring_view folder);

// A file of that path exists; a folder is none.
bool file_Exists(const std::wstring& path);

// A file of that path exists and holds something.
bool has_Content(const std::wstring& path);

// A folder of that path exists; so is a drive root.
bool folder_Exists(const std::wstring& path);

// What the routine does with each file and folder that fits the pattern, "." and ".." included.
template <typename Visit>
void visit_Each(const std::wstring& pattern, Visit&& visit) {
  WIN32_FIND_DATAW found{};
  const HANDLE opened = FindFirstFileW(pattern.c_str(), &found);
  if (opened == INVALID_HANDLE_VALUE)
    return;
  const unique_search search(opened);
  do
    visit(found);
  while (FindNextFileW(opened, &found));
}

// Copies the file to a path where none is yet. The copy gets the mark of the file that it was made of, if
// that came from the network ("Zone.Identifier"). False when one is there, which stays as it is, or when
// something cannot be read or written; none is left then.
bool copy_WithOrigin(const std::wstring& from, const std::wstring& to, const std::wstring& origin);

// Renames the file where none of the new name is. False when one is there, or it may not be renamed.
bool move_ToNewFile(const std::wstring& from, const std::wstring& to);

// False when the file is not there or may not be deleted.
bool delete_File(const std::wstring& path);

// Makes a file of the bytes alone, in place of one that is there; a link is replaced and not followed. False
// when that fails, and then nothing is changed.
bool replace_File(const std::wstring& path, std::string_view bytes);

// The folder of the system or of the person that goes by this CSIDL, with a backslash at its end; empty when
// there is none.
std::wstring get_SystemFolder(int csidl);
