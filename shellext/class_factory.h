// The factories that COM makes objects of the extension's classes with.
#pragma once

#include <windows.h>

// A new factory for the class, asked for the interface. CLASS_E_CLASSNOTAVAILABLE for a class that is not the
// extension's, E_OUTOFMEMORY when there is no memory for one.
HRESULT create_ClassFactory(REFCLSID clsid, REFIID iid, void** factory) noexcept;
