#include "host/doctor/diagnosis.h"

#include <algorithm>
#include <array>

#include "base/apartment.h"
#include "base/log.h"
#include "base/text.h"
#include "host/arguments.h"
#include "host/doctor/registration_state.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/failure.h"
#include "host/explorer/handles.h"
#include "host/output.h"
#include "launcher/program_locators.h"
#include "menu/composition.h"
#include "settings/registry.h"
#include "settings/settings.h"
#include "shellext/shell_ext.h"
#include "suite/diagnostic_log.h"
#include "suite/feature_probes.h"

namespace host {
namespace {

using Microsoft::WRL::ComPtr;
using Facts = std::vector<Fact>;

struct NamedProgram {
  Program Kind;
  const wchar_t* Name;
  std::wstring (*Find)();
};

constexpr std::array programs{
    NamedProgram{Program::PageKeeper, L"PageKeeper.exe", find_PageKeeper},
    NamedProgram{Program::SealWriter, L"SealWriter.exe", find_SealWriter},
    NamedProgram{Program::PdfViewer, LR"(pdfviewer\NorvakPDFViewer.exe)", find_PdfViewer},
    NamedProgram{Program::Quill, L"quill!.exe", find_Quill},
    NamedProgram{Program::WorkerProcess, L"NorvakWorkerProcess.exe", find_WorkerProcess}};

// Where a program was looked for, in words.
std::wstring describe_Search(Program program) {
  std::wstring places;
  auto candidates = list_Candidates(program);
  std::ranges::sort(candidates);
  candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
  for (const std::wstring& candidate : candidates)
    places += (places.empty() ? L"not found as " : L", ") + candidate;
  return places.empty() ? L"no folder is set to look for it in" : places;
}

std::wstring describe_Missing(std::initializer_list<NamedProgram> wanted) {
  std::wstring sentence;
  for (const NamedProgram& program : wanted) {
    sentence +=
        (sentence.empty() ? L"" : L"; ") + std::wstring(program.Name) + L": " + describe_Search(program.Kind);
  }
  return sentence;
}

std::wstring describe_MissingApplication() {
  return L"no PDF application: " + describe_Missing({programs[0], programs[1], programs[2]});
}

std::wstring describe_MissingContainer() {
  return std::wstring(L"no key container: ") + users_container.Path + L" is empty";
}

std::wstring describe_MissingCardFeature() {
  const std::wstring tool = find_ConfigurationTool().empty() ? L"; NorvakConfig.exe was not found" : L"";
  return L"neither the card connector nor the credential provider is switched on" + tool;
}

// The condition that an item lacks, in words.
std::wstring describe(Condition condition) {
  switch (condition) {
    case Condition::Folders:
      return L"the selection is not folders alone";
    case Condition::NotOnlyFolders:
      return L"the selection is folders alone";
    case Condition::MultiSigner:
      return std::wstring(L"the multi-signer is not switched on: ") + multi_signer.Path + L" is not 1";
    case Condition::CardFeature:
      return describe_MissingCardFeature();
    case Condition::DriveRoot:
      return L"the selection is not the root of one drive, or Vaultware.exe is not in the install folder";
    case Condition::Container:
      return LR"(the drive holds no container (norvak\norvak.tc))";
    case Condition::NoContainer:
      return LR"(the drive holds a container (norvak\norvak.tc) already)";
    case Condition::Mounted:
      return L"the drive is not mounted (no mounted.txt in its root)";
    case Condition::NotMounted:
      return L"the drive is mounted (mounted.txt in its root)";
    case Condition::PdfApplication:
      return describe_MissingApplication();
    case Condition::Viewable:
      return L"no PDF, XML or image file is selected";
    case Condition::Quill:
      return L"no signing application: " + describe_Missing({programs[3]});
    case Condition::Signable:
      return L"no file is selected that the signing application opens";
    case Condition::WorkerAndApplication:
      return find_WorkerProcess().empty() ? L"no signing worker: " + describe_Missing({programs[4]})
                                          : describe_MissingApplication();
    case Condition::Convertible:
      return L"no file is selected that is or can become a PDF";
    case Condition::ContainerName:
      return describe_MissingContainer();
    case Condition::SigningRoute:
      return L"no signing application (" + describe_Missing({programs[3]}) + L"), " +
             describe_MissingApplication() + L", and no card feature is switched on";
    case Condition::Pkcs7:
      return L"no PKCS#7 file (.p7m, .p7s) is selected";
    case Condition::NoPkcs7:
      return L"a PKCS#7 file (.p7m, .p7s) is selected";
    case Condition::NoLink:
      return L"a shortcut is selected";
  }
  return {};
}

Facts list_Items() {
  Facts facts;
  for (const ItemDecision& item : decide_Items(current_Selection()->Flags)) {
    facts.push_back({item.Caption, item.Missing ? L"not offered" : L"offered",
                     item.Missing ? describe(*item.Missing) : L""});
  }
  return facts;
}

Facts list_Settings() {
  Facts facts;
  for (const Setting* setting : all_settings) {
    if (setting->Use != Usage::Written) {
      FoundValue found = find_Value(setting->Path);
      const bool is_missing = is_Empty(found.Value);
      const bool is_text = std::holds_alternative<std::wstring>(found.Value);
      const std::wstring text = is_text ? quoted(as_Text(std::move(found.Value))) : L"binary data";
      facts.push_back(
          {setting->Path, is_missing ? L"missing" : text, is_missing ? L"" : L"from " + found.Place});
    }
  }
  return facts;
}

Facts list_Programs() {
  Facts facts;
  for (const NamedProgram& program : programs) {
    const std::wstring path = program.Find();
    facts.push_back({program.Name, path.empty() ? L"missing" : L"found",
                     path.empty() ? describe_Search(program.Kind) : path});
  }
  const std::wstring tool = find_ConfigurationTool();
  facts.push_back({L"NorvakConfig.exe", tool.empty() ? L"missing" : L"found", tool});
  const auto add_feature = [&](const wchar_t* name, bool is_on) {
    facts.push_back({name, is_on ? L"on" : L"off", L""});
  };
  add_feature(L"Card connector", has_CardConnector());
  add_feature(L"Credential provider", has_CredentialProvider());
  add_feature(L"Multi-signer", has_MultiSigner());
  return facts;
}

Facts describe_Log() {
  return {{L"Diagnostic log", is_LogOn() ? L"on" : L"off", find_LogFile()}};
}

constexpr std::array phases{L"Create", L"Initialize", L"QueryContextMenu", L"GetCommandString", L"Release"};
using Times = std::array<long long, phases.size()>;  // in microseconds

ComPtr<IContextMenu> create_ShellExt() {
  ComPtr<IContextMenu> object(ShellExt::create());
  if (!object)
    throw Failure{L"There is not enough memory for a diagnosis."};
  return object;
}

void initialize(const ComPtr<IContextMenu>& object, const Selection& selection) {
  ComPtr<IShellExtInit> initializer;
  object.As(&initializer);
  initializer->Initialize(nullptr, selection.DataObject.Get(), nullptr);
}

// One right-click without a pick, on this program's own copy of the product, and how long each phase takes.
Times time_RightClick(const Selection& selection) {
  Times times{};
  LARGE_INTEGER frequency{};
  QueryPerformanceFrequency(&frequency);
  auto time = [&, phase = std::size_t{0}](auto&& run) mutable {
    LARGE_INTEGER start{};
    QueryPerformanceCounter(&start);
    run();
    LARGE_INTEGER end{};
    QueryPerformanceCounter(&end);
    times[phase++] = (end.QuadPart - start.QuadPart) * 1'000'000 / frequency.QuadPart;
  };
  const unique_hmenu menu(CreatePopupMenu());
  std::array<char, 128> text{};
  ComPtr<IContextMenu> object;
  time([&] { object = create_ShellExt(); });
  time([&] { initialize(object, selection); });
  time([&] { object->QueryContextMenu(menu.get(), 0, 0, last_command_id, CMF_NORMAL); });
  time([&] { object->GetCommandString(0, GCS_HELPTEXTA, nullptr, text.data(), 100); });
  time([&] { object.Reset(); });
  return times;
}

// The first right-click of a process settles settings and creates components; the next one tells the usual
// cost.
Facts list_Times(const Selection& selection) {
  const Times first = time_RightClick(selection);
  const Times next = time_RightClick(selection);
  Facts facts;
  for (std::size_t phase = 0; phase < phases.size(); ++phase) {
    facts.push_back({phases[phase], std::to_wstring(next[phase]) + L" microseconds",
                     L"the first time " + std::to_wstring(first[phase])});
  }
  return facts;
}

}  // namespace

std::vector<Section> diagnose(const Selection& selection) {
  forbid_Writes();
  Facts times = list_Times(selection);
  // The captured selection stays classified as long as the object lives.
  const ComPtr<IContextMenu> object = create_ShellExt();
  initialize(object, selection);
  std::vector<Section> sections{{L"Items", L"items", list_Items()},
                                {L"Settings that are read", L"settings", list_Settings()},
                                {L"Programs and features", L"programs", list_Programs()},
                                {L"Registration", L"registration", list_Registration()},
                                {L"Log", L"log", describe_Log()},
                                {L"Time of one right-click", L"times", std::move(times)}};
  leave_Apartment();
  return sections;
}

}  // namespace host
