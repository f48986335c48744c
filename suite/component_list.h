// The components of the suite that the product calls, the one list of them: the setup and the scripts take
// the names from here too (scripts/lib/components). No state.
#pragma once

#include <windows.h>

#include <array>
#include <string>

#include "components/object_creation.h"
#include "settings/registry.h"
#include "suite/suite_folders.h"

// A DLL that is registered where the component is missing.
struct ComponentServer {
  std::wstring (*Folder)() = nullptr;
  const wchar_t* File = nullptr;
};

struct SuiteComponent {
  const wchar_t* ProgId;
  DWORD AnswerLimit;  // in milliseconds
  std::array<ComponentServer, 2> Servers;
};

inline constexpr SuiteComponent log_component{
    L"logging.logme",
    quick_answer,
    {{{get_InstallFolder, L"logmod.dll"}, {get_CommonProgramFolder, L"logmod.dll"}}}};
inline constexpr SuiteComponent translator_component{
    L"NorvakTranslator.Language", quick_answer, {{{get_CommonProgramFolder, L"NorvakTranslator.dll"}}}};
// It may wait for its present holder.
inline constexpr SuiteComponent semaphore_component{
    L"NorvakInter.SemaPhore",
    15'000,
    {{{get_CommonProgramFolder, L"NorvakInter.dll"},
      {get_CommonProgramFolder, LR"(norvak\NorvakInter.dll)"}}}};
inline constexpr SuiteComponent store_component{L"NorvakCertInstaller.iCache",
                                                quick_answer,
                                                {{{get_CommonProgramFolder, L"NorvakCertInstaller.dll"},
                                                  {get_InstallFolder, L"NorvakCertInstaller.dll"}}}};
inline constexpr SuiteComponent pdf_component{
    L"norvakpdf.edit", answer_AfterWork, {{{get_InstallFolder, L"norvakpdf.dll"}}}};
inline constexpr SuiteComponent pkcs7_component{
    L"norvakcsp.PKCS7", answer_AfterWork, {{{get_InstallFolder, L"norvakcsp.dll"}}}};

inline constexpr std::array all_components{&log_component,   &translator_component, &semaphore_component,
                                           &store_component, &pdf_component,        &pkcs7_component};

// A new object of the component; where that fails, its DLLs are registered and it is tried once more. Null
// when there is none.
AutomationObject create_Component(const SuiteComponent& component);
