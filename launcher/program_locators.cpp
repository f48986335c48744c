#include "launcher/program_locators.h"

#include <array>
#include <initializer_list>

#include "base/log.h"
#include "base/process_values.h"
#include "files/files.h"
#include "files/trust.h"
#include "settings/fixed_folders.h"
#include "settings/registry.h"
#include "suite/suite_folders.h"

namespace {

// The log shows these paths in the spelling in which each program was always looked for.
constexpr std::initializer_list<const wchar_t*> page_keeper_folders{
    LR"(HKLM\Software\Norvak\pagekeeper\path)", LR"(HKLM\Software\Norvak\pdf\path)",
    LR"(HKLM\Software\Norvak\pdf\INSTALLDIR)"};
constexpr std::initializer_list<const wchar_t*> viewer_folders{LR"(HKLM\Software\norvak\pdf\path)",
                                                               LR"(HKLM\Software\norvak\pdf\INSTALLDIR)",
                                                               LR"(HKLM\Software\norvak\pagekeeper\path)"};
constexpr std::initializer_list<const wchar_t*> quill_folders{
    LR"(HKLM\Software\norvak\quill!\path)", LR"(HKLM\Software\norvak\quill!\installdir)",
    LR"(HKLM\Software\norvak\quill\path)",  LR"(HKLM\Software\norvak\quill\installdir)",
    LR"(HKLM\Software\norvak\pdf\path)",    LR"(HKLM\Software\norvak\pdf\INSTALLDIR)"};
constexpr std::initializer_list<const wchar_t*> worker_folders{
    LR"(HKLM\Software\norvak\pdf\path)",
    LR"(HKLM\Software\norvak\pdf\INSTALLDIR)",
    LR"(HKLM\Software\norvak\pagekeeper\path)",
    LR"(HKLM\Software\norvak\quill!\path)",
    LR"(HKLM\Software\norvak\pagekeeper\INSTALLDIR)",
    LR"(HKLM\Software\norvak\quill!\INSTALLDIR)"};
struct Locator {
  const wchar_t* FileName;
  std::initializer_list<const wchar_t*> Folders;
  bool IsShared;  // among the programs that the suite's products share; developers have it in a folder of
                  // theirs
};

// In the order of `Program`.
constexpr std::array locators{
    Locator{L"PageKeeper.exe", page_keeper_folders, false},
    Locator{L"SealWriter.exe", page_keeper_folders, false},
    Locator{LR"(pdfviewer\NorvakPDFViewer.exe)", viewer_folders, false},
    Locator{L"quill!.exe", quill_folders, false},
    Locator{L"NorvakWorkerProcess.exe", worker_folders, true},
};

constinit std::array<Settled<std::wstring>, locators.size()> found_programs;
constinit Settled<std::wstring> pdf_application;

// Offers one candidate after the other until one is taken.
template <typename Take>
void visit_Candidates(const Locator& locator, Take&& take) {
  const auto is_Taken = [&](const std::wstring& folder) {
    const auto full = full_Folder(folder);
    return !full.empty() && take(full + locator.FileName);
  };
  if (locator.IsShared && is_Taken(get_CommonProgramFolder()))
    return;
  for (const auto* folder : locator.Folders)
    if (is_Taken(regread_Text(folder)))
      return;
  if (locator.IsShared && counts(FixedFolder::Developers))
    is_Taken(path_Of(FixedFolder::Developers));
}

std::wstring find_Program(Program program) {
  const auto index = static_cast<std::size_t>(program);
  if (auto known = found_programs[index].get())
    return *std::move(known);
  std::wstring path;
  visit_Candidates(locators[index], [&](const std::wstring& candidate) {
    if (file_Exists(candidate) && may_Obey(candidate))
      path = candidate;
    return !path.empty();
  });
  if (path.empty())
    return path;
  debug_Log(L"Found: ", path);
  return found_programs[index].settle(path);
}

}  // namespace

std::wstring find_PageKeeper() {
  return find_Program(Program::PageKeeper);
}

std::wstring find_SealWriter() {
  return find_Program(Program::SealWriter);
}

std::wstring find_PdfViewer() {
  return find_Program(Program::PdfViewer);
}

std::wstring find_Quill() {
  return find_Program(Program::Quill);
}

std::wstring find_WorkerProcess() {
  return find_Program(Program::WorkerProcess);
}

std::vector<std::wstring> list_Candidates(Program program) {
  std::vector<std::wstring> candidates;
  visit_Candidates(locators[static_cast<std::size_t>(program)], [&](const std::wstring& candidate) {
    candidates.push_back(candidate);
    return false;
  });
  return candidates;
}

std::wstring find_PdfApplication() {
  if (auto known = pdf_application.get())
    return *std::move(known);
  for (auto* find_Application : {find_PageKeeper, find_SealWriter, find_PdfViewer})
    if (auto found = find_Application(); !found.empty())
      return pdf_application.settle(std::move(found));
  return {};
}
