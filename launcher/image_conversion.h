// Pictures become PDF files by the suite's PDF component ("norvakpdf.edit"). No state.
#pragma once

#include <string>

// The PDF of the picture, kept beside it under the picture's name with ".pdf" appended; a file of that name
// that is there already stays as it is. The picture's own path when there is no component or it makes no PDF.
std::wstring convert_ToPdf(const std::wstring& picture);
