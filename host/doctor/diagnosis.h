// Why the extension offers what it offers: asked of the product's own modules, which this program carries
// too, so that no rule of theirs is written twice. They answer as inside Explorer, except for what depends
// on the folder that a module was loaded from, which is this program's here. No state; no setting is changed,
// except by the product's own write test.
#pragma once

#include <string>
#include <vector>

#include "host/doctor/circumstances.h"
#include "host/doctor/component_state.h"
#include "host/doctor/log_state.h"
#include "host/doctor/named_programs.h"
#include "host/doctor/package_state.h"
#include "host/doctor/problems.h"
#include "host/doctor/registration_state.h"
#include "host/explorer/selection.h"
#include "menu/items.h"
#include "settings/settings.h"

namespace host {

struct ItemState {
  const MenuItem* Item = nullptr;
  std::wstring Caption;  // as the person sees it
  Condition Missing;     // without a name where the item is offered
};

struct SettingState {
  const Setting* Row = nullptr;
  RegistryValue Value;
  std::wstring Place;  // empty where nothing was found
};

struct ProgramState {
  const wchar_t* Name = nullptr;
  std::wstring Path;  // empty where it was not found
  std::vector<std::wstring> Searched;
};

struct FeatureState {
  std::wstring_view Name;  // in JSON
  unsigned long Text;
  bool IsOn;
};

// One call of Explorer's during a right-click, in microseconds: the first of a process settles settings and
// creates components, the next one tells the usual cost.
struct PhaseTime {
  std::wstring_view Name;
  long long First = 0;
  long long Next = 0;
};

struct Diagnosis {
  Circumstances About;
  std::vector<std::wstring> Paths;
  std::vector<Problem> Problems;
  std::vector<ItemState> Items;
  std::vector<SettingState> Settings;
  std::vector<ProgramState> Programs;
  std::vector<FeatureState> Features;
  Registration Registered;
  std::vector<ComponentState> Components;
  LogState Log;
  Package FirstMenu;
  std::vector<PhaseTime> Times;
};

// The whole report on a right-click on the selection.
Diagnosis diagnose(const Selection& selection);

}  // namespace host
