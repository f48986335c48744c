// The type library that the DLL carries as a resource. No state: it is loaded for each question, since only
// registration and late-bound callers ask.
#pragma once

#include <windows.h>

#include <oleauto.h>

// The library, and the description of the class's default interface in it.
HRESULT load_TypeLibrary(ITypeLib** library) noexcept;
HRESULT load_TypeInfo(ITypeInfo** type_info) noexcept;
