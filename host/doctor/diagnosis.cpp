#include "host/doctor/diagnosis.h"

#include <algorithm>
#include <array>

#include "base/apartment.h"
#include "base/log.h"
#include "base/text.h"
#include "host/arguments.h"
#include "host/doctor/named_programs.h"
#include "host/doctor/reasons.h"
#include "host/doctor/registration_state.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/failure.h"
#include "host/explorer/handles.h"
#include "host/output.h"
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

Facts list_Items() {
  Facts facts;
  for (const ItemDecision& item : decide_Items(current_Selection()->Flags)) {
    facts.push_back({item.Item->Caption, item.Missing.Name != nullptr ? L"not offered" : L"offered",
                     describe_Reason(item.Missing)});
  }
  return facts;
}

Facts list_Settings() {
  Facts facts;
  for (const Setting* setting : all_settings) {
    if (setting->Use != Usage::Written) {
      FoundValue found = find_Value(setting->Path);
      const auto is_missing = is_Empty(found.Value);
      const auto is_text = std::holds_alternative<std::wstring>(found.Value);
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
    const auto path = program.Find();
    facts.push_back({program.Name, path.empty() ? L"missing" : L"found",
                     path.empty() ? describe_Search(program.Kind) : path});
  }
  const auto tool = find_ConfigurationTool();
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
  const auto first = time_RightClick(selection);
  const auto next = time_RightClick(selection);
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
  const auto object = create_ShellExt();
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
