// The package by which Windows 11 knows the extension for its first menu, what it offers there for a
// selection, and what keeps Windows from showing it. No state.
#pragma once

#include <string>
#include <vector>

#include "host/doctor/circumstances.h"
#include "host/explorer/selection.h"

namespace host {

// What keeps the items out of the first menu.
struct Obstacle {
  std::wstring_view Code;  // its name in JSON
  std::wstring Subject;    // the path, name or number that it is about; may be empty
  std::wstring What;
  bool IsProblem = false;  // wrong whatever is selected, where the setup was asked for the first menu
};

struct Package {
  std::vector<std::wstring> Names;  // as Windows lists it, each once; none where it is not installed
  bool IsForAllUsers = false;
  bool IsForThisUser = false;
  std::wstring Folder;   // what the setup has noted for it; empty where the setup was not asked
  std::wstring Refusal;  // what Windows told the setup; empty where it took the package
  bool IsShown = false;  // by the extension, for the selection
  std::vector<std::wstring> Items;
  std::vector<Obstacle> Obstacles;
};

// Whether this Windows has such a menu.
bool has_FirstMenu(const Circumstances& about);

Package find_Package(const Selection& selection, const Circumstances& about);

}  // namespace host
