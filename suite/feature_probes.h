// Which optional parts of the suite are installed and switched on. Every answer is settled with the first
// question and kept for the life of the process; a question that fails on its way stays answered with no.
// A DLL that was loaded from a folder named "norvak" at a drive root counts as having every part.
#pragma once

#include <string>

// "HKLM\Software\Norvak\CardConnector", else "…\CSP\CardConnector", is "1", and NorvakConfig.exe is there.
bool has_CardConnector();

// The same with the values named "CredentialProvider".
bool has_CredentialProvider();

// "HKLM\Software\Norvak\MultiSignator" is "1".
bool has_MultiSigner();

// Full path of NorvakConfig.exe in the install folder, else in "HKLM\Software\Norvak\csp\INSTALLDIR"; empty
// when it is in neither.
std::wstring find_ConfigurationTool();

// `CardSigningAvailable`: one of these features is on, or, where none is, the first of the values above that
// has a text is "1". The values count untrimmed here: only "1" itself switches it on. Asked again while none
// has a text.
bool is_CardSigningAvailable();
