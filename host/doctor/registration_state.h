// What the registry says about the extension itself and the suite's components, for a report. No state.
#pragma once

#include <string>
#include <vector>

namespace host {

// One line of the report: what, how it is, and why or where, which may be empty.
struct Fact {
  std::wstring Subject;
  std::wstring State;
  std::wstring Detail;
};

// The class, its ProgID and type library, the handler keys for files, folders and drives, the entry among
// the approved extensions, whether the DLLs that this Windows needs are registered, and the suite's
// components with whether 32-bit and 64-bit programs reach them.
std::vector<Fact> list_Registration();

}  // namespace host
