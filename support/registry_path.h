// The repair of loosely written registry paths, and the switch that moves every user's path to the machine.
// The switch, and the path that it rewrote last, are kept for the life of the process.
#pragma once

#include <string>

// Puts a path into the form in which it is read: known spellings of roots and of the software and system
// keys, the `forceHKLM` switch, no doubled backslashes.
void normalise_ForRead(std::wstring& path);

// The same for `regwrite_dw`, which also repairs a common misspelling of "Software".
void normalise_ForWrite(std::wstring& path);

// The same for `regwrite_sz`, which also repairs a doubled backslash before "to".
void normalise_ForTextWrite(std::wstring& path);

// The path, moved from HKCU to HKLM when the switch is on; with single backslashes when it is off.
std::wstring apply_forceHKLM(const std::wstring& path);

// Whether "HKLM\Software\Norvak\forceHKLM" is "1"; read once a process.
bool is_ForceHKLM();
