// Threads that call components in other processes, so that their callers wait no longer than a limit and
// enter no message loop of COM. They share COM's multi-threaded apartment, to which all such objects belong:
// the workers alone make, call and release them. A process that has not answered in time, or has ended while
// it had objects, counts as missing for the rest of this one. The state is the workers and what is missing,
// until the module unloads.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <wrl/client.h>

#include <functional>
#include <map>
#include <string>

// What a worker keeps of a class: starting the process anew takes longer than a right-click may, and so would
// asking it for the members of each object.
struct KnownClass {
  CLSID Id;
  Microsoft::WRL::ComPtr<IClassFactory> Factory;
  std::map<std::wstring, DISPID> Members;
};

// Work for the process of a class. It owns all that it works on, since its caller may have stopped waiting.
using Routine = std::function<HRESULT(KnownClass&)>;

// Has the routine run by a worker and waits for it, `limit` milliseconds at most. Its outcome; a failure when
// the process is missing or has become so. Threads may call at the same time; none waits for another.
HRESULT run_Remotely(REFCLSID clsid, DWORD limit, Routine routine);

// Has the routine, which owns an object that is to be released, run and dropped by a worker; waited for no
// longer than `quick_answer`, and only if asked for.
void release_Remotely(REFCLSID clsid, Routine routine, bool is_awaited);

// Whether the process that serves the class counts as missing.
bool is_SurrogateMissing(REFCLSID clsid);

// Whether an outcome tells that the process has ended, could not be reached or not be started.
bool has_Ended(HRESULT outcome);

// Releases what the workers hold and ends them; called when the module may be unloaded. False while one is
// still held up in another process; it keeps the module loaded.
bool end_RemoteWork() noexcept;
