// Where the suite's programs are. Each path is looked for in the folders that the registry names, in a fixed
// order; once found it is kept for the life of the process, even if the file disappears. A program that was
// not found is looked for again with the next question.
#pragma once

#include <string>
#include <vector>

enum class Program { PageKeeper, SealWriter, PdfViewer, Quill, WorkerProcess };

// Where the program is looked for: the full paths in their order; a folder that is not set has none.
std::vector<std::wstring> list_Candidates(Program program);

// Each returns the program's full path, or the empty text when it is in none of its folders.
std::wstring find_PageKeeper();
std::wstring find_PdfViewer();
std::wstring find_SealWriter();
std::wstring find_Quill();
std::wstring find_WorkerProcess();

// The first PDF application found: PageKeeper, SealWriter, the PDF viewer. Empty when none is there.
std::wstring find_PdfApplication();
