// The factory that COM makes `ShellExt` objects with.
#pragma once

#include <windows.h>

// A new factory, asked for the interface. E_OUTOFMEMORY when there is no memory for one.
HRESULT create_ClassFactory(REFIID iid, void** factory) noexcept;
