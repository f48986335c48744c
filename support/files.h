// Questions to the file system. Every failure, a path that is too long or not readable included, counts as
// "not there". No state.
#pragma once

#include <string>
#include <string_view>

// A file of that path exists; a folder is none.
bool file_Exists(const std::wstring& path);

// A folder of that path exists; so is a drive root.
bool folder_Exists(const std::wstring& path);

// The text after the last dot is one of the image extensions that the suite can turn into a PDF.
bool has_ImageExtension(std::wstring_view path);

// `has_ImageExtension`, and the path is no folder; the file system is asked only when the extension fits.
bool is_ImageFile(const std::wstring& path);
