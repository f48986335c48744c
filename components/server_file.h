// The DLL that serves a class in the process, loaded by us before the system loads it: with a search of our
// own, which leaves the current folder out, and only where it may be obeyed (files/trust.h).
#pragma once

#include <windows.h>

#include <string>

#include "base/handles.h"

// The DLL, which takes what it depends on from its own folder or the system's alone; empty where it, or one
// of these, is not there. A name without a folder is the system's.
unique_hmodule load_Server(const std::wstring& path);

// Whether the system may serve the class in this process: it has no DLL in the registry, and so another way,
// or `server` has been loaded.
bool prepare_Server(REFCLSID clsid, unique_hmodule& server);

// Whether the 32-bit DLL of the class, which another process loads for us, may be obeyed.
bool may_ObeyRemoteServer(REFCLSID clsid);
