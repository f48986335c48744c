#include "launcher/program_locators.h"

#include <initializer_list>

#include "support/diagnostic_log.h"
#include "support/feature_probes.h"
#include "support/registry.h"
#include "support/suite_folders.h"

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
constexpr const wchar_t* developer_folder = LR"(c:\srcbox\worker)";

struct {
  std::wstring PageKeeper;
  std::wstring PdfViewer;
  std::wstring SealWriter;
  std::wstring Quill;
  std::wstring WorkerProcess;
  std::wstring PdfApplication;
} state;  // lives as long as the module

std::wstring find_InRegistryFolders(std::initializer_list<const wchar_t*> folders,
                                    std::wstring_view file_name) {
  for (const auto* folder : folders) {
    auto path = find_InFolder(regread_Text(folder), file_name);
    if (!path.empty())
      return path;
  }
  return {};
}

std::wstring search_WorkerProcess() {
  constexpr std::wstring_view file_name = L"NorvakWorkerProcess.exe";
  auto path = find_InFolder(get_CommonProgramFolder(), file_name);
  if (path.empty())
    path = find_InRegistryFolders(worker_folders, file_name);
  if (path.empty())
    path = find_InFolder(developer_folder, file_name);
  return path;
}

template <typename Search>
std::wstring find_Once(std::wstring& cache, Search&& search) {
  if (cache.empty()) {
    cache = search();
    if (!cache.empty())
      debug_Log(L"Found: ", cache);
  }
  return cache;
}

}  // namespace

std::wstring find_PageKeeper() {
  return find_Once(state.PageKeeper,
                   [] { return find_InRegistryFolders(page_keeper_folders, L"PageKeeper.exe"); });
}

std::wstring find_PdfViewer() {
  return find_Once(state.PdfViewer, [] {
    return find_InRegistryFolders(viewer_folders, LR"(pdfviewer\NorvakPDFViewer.exe)");
  });
}

std::wstring find_SealWriter() {
  return find_Once(state.SealWriter,
                   [] { return find_InRegistryFolders(page_keeper_folders, L"SealWriter.exe"); });
}

std::wstring find_Quill() {
  return find_Once(state.Quill, [] { return find_InRegistryFolders(quill_folders, L"quill!.exe"); });
}

std::wstring find_WorkerProcess() {
  return find_Once(state.WorkerProcess, search_WorkerProcess);
}

std::wstring find_PdfApplication() {
  for (auto* find_Application : {find_PageKeeper, find_SealWriter, find_PdfViewer}) {
    if (state.PdfApplication.empty())
      state.PdfApplication = find_Application();
  }
  update_CardSigningAvailable();
  return state.PdfApplication;
}
