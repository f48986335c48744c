#include "host/doctor/diagnosis.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "base/apartment.h"
#include "files/files.h"
#include "host/doctor/reasons.h"
#include "host/explorer/context_menu.h"
#include "host/explorer/failure.h"
#include "host/explorer/handles.h"
#include "host/language.h"
#include "launcher/translation.h"
#include "settings/registry.h"
#include "shellext/shell_ext.h"
#include "suite/feature_probes.h"

namespace host {
namespace {

using Microsoft::WRL::ComPtr;

std::vector<ItemState> list_Items() {
  const auto flags = current_Selection()->Flags;
  std::vector<ItemState> items(menu_items.size());
  std::ranges::transform(menu_items, items.begin(), [&flags](const MenuItem& item) {
    return ItemState{&item, translate_String(item.Caption), find_TellingCondition(item, flags)};
  });
  return items;
}

std::vector<SettingState> list_Settings() {
  std::vector<SettingState> settings;
  for (const Setting* setting : all_settings) {
    if (setting->Use == Usage::Written)
      continue;
    auto [value, place] = find_Value(setting->Path);
    const auto is_missing = is_Empty(value);
    settings.push_back({setting, std::move(value), is_missing ? std::wstring() : std::move(place)});
  }
  return settings;
}

std::vector<ProgramState> list_Programs() {
  std::vector<ProgramState> states(programs.size());
  std::ranges::transform(programs, states.begin(), [](const NamedProgram& program) {
    return ProgramState{program.Name, program.Find(), list_SearchedPaths(program.Kind)};
  });
  ProgramState configuration{L"NorvakConfig.exe", find_ConfigurationTool(), {}};
  for (const auto& folder : {get_InstallFolder(), full_Folder(regread_Text(csp_folder.Path))})
    if (!folder.empty())
      configuration.Searched.push_back(folder + L"NorvakConfig.exe");
  states.push_back(std::move(configuration));
  return states;
}

std::vector<FeatureState> list_Features() {
  return {{L"cardConnector", TEXT_CARD_CONNECTOR, has_CardConnector()},
          {L"credentialProvider", TEXT_CREDENTIAL_PROVIDER, has_CredentialProvider()},
          {L"multiSigner", TEXT_MULTI_SIGNER, has_MultiSigner()}};
}

constexpr std::array phases{L"Create", L"Initialize", L"QueryContextMenu", L"GetCommandString", L"Release"};
using Times = std::array<long long, phases.size()>;  // in microseconds

ComPtr<IContextMenu> create_ShellExt() {
  ComPtr<IContextMenu> object(ShellExt::create());
  if (!object)
    throw Failure{say(TEXT_NO_MEMORY)};
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

std::vector<PhaseTime> list_Times(const Selection& selection) {
  const auto first = time_RightClick(selection);
  const auto next = time_RightClick(selection);
  std::vector<PhaseTime> times;
  for (std::size_t phase = 0; phase < phases.size(); ++phase)
    times.push_back({phases[phase], first[phase], next[phase]});
  return times;
}

}  // namespace

Diagnosis diagnose(const Selection& selection) {
  forbid_Writes();
  Diagnosis found;
  found.About = find_Circumstances();
  found.Paths = selection.Paths;
  found.Times = list_Times(selection);
  // The captured selection stays classified as long as the object lives.
  const auto object = create_ShellExt();
  initialize(object, selection);
  found.Items = list_Items();
  found.Settings = list_Settings();
  found.Programs = list_Programs();
  found.Features = list_Features();
  found.Registered = find_Registration();
  std::ranges::transform(all_components, std::back_inserter(found.Components),
                         [](const auto* component) { return find_ComponentState(*component); });
  found.Log = find_LogState();
  found.FirstMenu = find_Package(selection, found.About);
  found.Problems = find_Problems(found.Registered, found.Components, found.Log, found.FirstMenu);
  leave_Apartment();
  return found;
}

}  // namespace host
