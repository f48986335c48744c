// How this program reaches the suite's components, by what the registry says about them. No state.
#pragma once

#include <string>
#include <vector>

#include "suite/component_list.h"

namespace host {

enum class Reach {
  Direct,        // registered for this program's bitness, or a process of its own
  Surrogate,     // a 32-bit DLL, which Windows loads into a process for 64-bit programs
  WhenNeeded,    // not registered, but in its place: the extension registers it
  Missing,       // neither registered nor in its place
  Unregistered,  // in its place, and the extension cannot register it: it is of the other bitness
  FileGone,      // registered, and the file is not there
  Unreachable    // a 32-bit DLL without an entry for a surrogate process
};

struct ComponentState {
  const SuiteComponent* Component = nullptr;
  Reach How = Reach::Missing;
  std::wstring File;   // its DLL; empty where none is known
  std::wstring Entry;  // what is missing where it cannot be reached and somebody else's entry is in the way
};

ComponentState find_ComponentState(const SuiteComponent& component);

bool is_Usable(const ComponentState& state);

// The name of the state in JSON.
std::wstring_view name_Of(Reach reach);

}  // namespace host
