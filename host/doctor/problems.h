// What keeps the menu from being right on this machine, whatever is selected: a sentence for each problem,
// and one that mends it. No state.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "host/doctor/component_state.h"
#include "host/doctor/log_state.h"
#include "host/doctor/package_state.h"
#include "host/doctor/registration_state.h"

namespace host {

struct Problem {
  std::wstring_view Code;  // its name in JSON
  std::wstring Subject;    // the path or name that it is about
  std::wstring What;
  std::wstring Remedy;
};

// The problems of the registration, the components, the log and the package as they were found, and of the
// settings as they are; empty on a machine that is well.
std::vector<Problem> find_Problems(const Registration& registration,
                                   std::span<const ComponentState> components, const LogState& log,
                                   const Package& package);

}  // namespace host
