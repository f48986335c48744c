// The suite's programs by their names, and where each is looked for. No state.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "launcher/program_locators.h"

namespace host {

struct NamedProgram {
  Program Kind;
  const wchar_t* Name;
  std::wstring (*Find)();
};

inline constexpr std::array programs{
    NamedProgram{Program::PageKeeper, L"PageKeeper.exe", find_PageKeeper},
    NamedProgram{Program::SealWriter, L"SealWriter.exe", find_SealWriter},
    NamedProgram{Program::PdfViewer, LR"(pdfviewer\NorvakPDFViewer.exe)", find_PdfViewer},
    NamedProgram{Program::Quill, L"quill!.exe", find_Quill},
    NamedProgram{Program::WorkerProcess, L"NorvakWorkerProcess.exe", find_WorkerProcess}};

// The paths under which a program is looked for, each once.
std::vector<std::wstring> list_SearchedPaths(Program program);

// Where a program that was not found was looked for, in words.
std::wstring describe_Search(const std::vector<std::wstring>& paths);

}  // namespace host
