// Identifiers of classes, interfaces and libraries as text. No state.
#pragma once

#include <windows.h>

#include <string>

// The 38 characters in braces that the registry knows the identifier by; empty when the system makes none.
std::wstring guid_Text(const GUID& guid);
