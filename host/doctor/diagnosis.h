// Why the extension offers what it offers: asked of the product's own modules, which this program carries
// too, so that no rule of theirs is written twice. They answer as inside Explorer, except for what depends
// on the folder that a module was loaded from, which is this program's here. No state; no setting is changed,
// except by the product's own write test.
#pragma once

#include <string>
#include <vector>

#include "host/doctor/registration_state.h"
#include "host/explorer/selection.h"

namespace host {

struct Section {
  std::wstring_view Title;
  std::wstring_view Name;  // in JSON
  std::vector<Fact> Facts;
};

// The whole report on a right-click on the selection: items, settings, programs and features, registration,
// log, and the time that each phase took.
std::vector<Section> diagnose(const Selection& selection);

}  // namespace host
