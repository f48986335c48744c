// What the ending of a file's name says about the file. No state.
#pragma once

#include <string>
#include <string_view>

// The text after the last dot, or the whole path when it has none; without blanks at its ends, in lower case.
std::wstring get_Extension(std::wstring_view path);

// The text after the last dot is one of the image extensions that the suite can turn into a PDF.
bool has_ImageExtension(std::wstring_view path);

// `has_ImageExtension`, and the path is no folder; the file system is asked only when the extension fits.
bool is_ImageFile(const std::wstring& path);
