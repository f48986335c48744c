// Which optional parts of the suite are installed and switched on. Every answer is settled with the first
// question and kept for the life of the process; a question that fails on its way stays answered with no.
// A DLL that was loaded from a folder named "norvak" at a drive root counts as having every part.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <string>

// "HKLM\Software\Norvak\CardConnector", else "…\CSP\CardConnector", is "1", and NorvakConfig.exe is there.
VARIANT_BOOL has_CardConnector();

// The same with the values named "CredentialProvider".
VARIANT_BOOL has_CredentialProvider();

// "HKLM\Software\Norvak\MultiSignator" is "1".
VARIANT_BOOL has_MultiSigner();

// Full path of NorvakConfig.exe in the install folder, else in "HKLM\Software\Norvak\csp\INSTALLDIR"; empty
// when it is in neither.
std::wstring find_ConfigurationTool();

// Fills the smart-card feature cache while it is empty, and sets the flag `CardSigningAvailable` when the
// cache is "1". The values of the registry count untrimmed here: only "1" itself switches the flag on.
void update_CardSigningAvailable();
