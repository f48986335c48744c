// The DLL's own registration: the class, its ProgID and the type library. The handler keys that put the
// extension into Explorer's menus are not written here. All of it goes to the classes of the machine.
#pragma once

#include <windows.h>

// Writes the registration, or, when any part of it cannot be written, puts everything back as it was and
// returns the reason.
HRESULT register_Module() noexcept;

// Removes what `register_Module` writes, and nothing that others have put there; what both bitnesses share
// stays while the DLL of the other one is registered. S_OK also when there was nothing to remove.
HRESULT unregister_Module() noexcept;
