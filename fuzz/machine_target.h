// What the targets share that need the platform. Each process arranges the machine once.
#pragma once

#include <string>
#include <string_view>

#include "fuzz/target.h"
#include "settings/registry_api.h"
#include "tests/machine.h"

// A clean machine for the whole run.
struct CleanMachine : Machine {
  void TestBody() override {}
};

// Stores exactly these bytes. The platform looks at the letter behind a text that has no terminator, so there
// is one.
inline void store(const std::wstring& path, DWORD type, std::string bytes) {
  const auto place = find_Place(path);
  const auto size = static_cast<DWORD>(bytes.size());
  bytes += "????";
  RegSetKeyValueW(place.Root, place.Key.c_str(), place.Name.c_str(), type, bytes.data(), size);
}
