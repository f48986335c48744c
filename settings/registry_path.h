// The repair of loosely written registry paths, and the switch that moves every user's path to the machine.
// The switch is kept for the life of the process; whoever reads settings loads it first (registry.h).
#pragma once

#include <string>
#include <string_view>

// The path in the form in which it is read: known spellings of roots and of the software and system keys, the
// `forceHKLM` switch, no doubled backslashes.
std::wstring normalised_ForRead(std::wstring_view path);

// The same for writes, which also repair a common misspelling of "Software".
std::wstring normalised_ForWrite(std::wstring_view path);

// The path, moved from HKCU to HKLM when the switch is on; with single backslashes when it is off.
std::wstring apply_forceHKLM(std::wstring_view path);

// Settles the switch, whose value is the text of "HKLM\Software\Norvak\forceHKLM": on when that is "1".
void settle_ForceHKLM(std::wstring_view text);
bool is_ForceHKLMSettled();

// Whether the switch is on; off until it is settled.
bool is_ForceHKLM();
