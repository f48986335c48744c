// Components in a process of their own, as are those that exist for the other bitness only: the system's
// surrogate loads them. Whatever becomes of such a process, a caller waits no longer than its limit and
// enters no message loop of COM: worker threads make the objects and their calls. A process that has not
// answered in time, or has ended while it had objects, counts as missing for the rest of this one. The state
// is the workers and what is missing, until the module unloads.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <wrl/client.h>

// A new object of the class from another process, a 32-bit one first; null when there is none or making it
// takes longer than `quick_answer`. Its calls take `answer_limit` milliseconds at most, and take and give
// plain values: numbers, truth values and texts. Threads may call at the same time; none waits for another.
Microsoft::WRL::ComPtr<IDispatch> create_RemoteObject(REFCLSID clsid, DWORD answer_limit) noexcept;

// Releases what the workers hold and ends them; called when the module may be unloaded. False while one is
// still held up in another process; it keeps the module loaded.
bool end_RemoteWork() noexcept;
