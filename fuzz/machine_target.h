// What the targets on the platform share. Each process arranges the machine once.
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

// The stored bytes as they are: the platform looks at a letter behind a text without terminator.
inline void store(const std::wstring& path, DWORD type, std::string bytes) {
  const auto place = find_Place(path);
  const auto size = static_cast<DWORD>(bytes.size());
  bytes += "????";
  RegSetKeyValueW(place.Root, place.Key.c_str(), place.Name.c_str(), type, bytes.data(), size);
}
