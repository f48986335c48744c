// The key container that signatures are made with. No state.
#pragma once

#include <string>

// The name of the signing key container without blanks at its ends: the user's
// "HKCU\Software\Norvak\pdf\UniqueContainerName", else the machine's value of that name. Empty when neither
// is set.
std::wstring get_KeyContainer();
