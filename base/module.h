// The DLL or program that this code lives in. No state.
#pragma once

#include <windows.h>

#include <string>

// Whether the module runs as the suite does: 32-bit. Else it can load none of the suite's components, and has
// another view of the registry.
inline constexpr bool is_SuitesBitness = sizeof(void*) == 4;

// The module's own handle: resources are loaded from it.
HINSTANCE get_Module();

// Full path of the module's own file, or of another module's; of the program when that is null.
std::wstring get_ModulePath(HMODULE module = get_Module());

// The folder from which the module was loaded, with a backslash at its end.
std::wstring get_ModuleFolder();
