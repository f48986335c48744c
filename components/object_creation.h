// Automation objects made from a ProgID. Nothing here throws or reports. An object belongs to the thread that
// made it (apartment.h), as do the factories that are kept there.
#pragma once

#include <windows.h>

#include <string>

#include "components/automation.h"

// How long the answer of a component in another process is waited for in a picked action, in milliseconds.
// That of one that works on files or waits for others may take longer. In-process components answer when they
// do.
constexpr DWORD quick_answer = 2500;
constexpr DWORD answer_AfterWork = 600'000;

// A new object of the class registered under the ProgID; null when there is none or it cannot be made.
// One in another process may turn out not to be made later, and its calls fail then
// (components/remote_component.h).
AutomationObject create_Object(const wchar_t* progid, DWORD answer_limit = quick_answer) noexcept;

// Runs the registration entry point of a COM server DLL. False when the path is no full one, or the file
// cannot be loaded, has no such entry or the entry fails.
bool register_Server(const std::wstring& path) noexcept;
