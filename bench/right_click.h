// One right-click on a selection, phase by phase, through COM as Explorer makes it. No state.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <array>
#include <optional>

enum class Phase { Create, Initialize, QueryContextMenu, GetCommandString, Release, Total };

inline constexpr std::array phase_names{"create",           "Initialize", "QueryContextMenu",
                                        "GetCommandString", "release",    "total"};

// Microseconds of each phase; in the order of `Phase`.
using Times = std::array<double, phase_names.size()>;

// Makes an object of the class, hands it the selection, has an empty menu filled, asks for the help text of
// each item, and releases the object. No value when the class is missing or refuses the selection.
std::optional<Times> right_Click(REFCLSID handler, IDataObject* selection);
