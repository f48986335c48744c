// Folders of the suite that go by the same name on every machine. Where there is none, anybody might make
// one, and be obeyed in everybody's Explorer: so one counts only when nobody else could change it
// (files/trust.h), which is settled once a process.
#pragma once

#include <array>
#include <cstddef>

enum class FixedFolder { GermanPrograms, Programs, Developers };

// In the order of `FixedFolder`, each with a backslash at its end.
inline constexpr std::array fixed_folders{LR"(c:\programme\bergstede\)", LR"(c:\program files\bergstede\)",
                                          LR"(c:\srcbox\worker\)"};

constexpr const wchar_t* path_Of(FixedFolder folder) {
  return fixed_folders[static_cast<std::size_t>(folder)];
}

// Whether the folder counts; no where it is not there.
bool counts(FixedFolder folder);
