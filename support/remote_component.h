// Components in a process of their own, as are those that exist for the other bitness only: the system's
// surrogate loads them. Whatever becomes of such a process, a caller waits no longer than its limit
// (remote_worker.h). No state.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <wrl/client.h>

// A new object of the class from another process, a 32-bit one first; null when there is none or making it
// takes longer than `quick_answer`. Its calls take `answer_limit` milliseconds at most, and take and give
// plain values: numbers, truth values and texts. Threads may call at the same time; none waits for another.
Microsoft::WRL::ComPtr<IDispatch> create_RemoteObject(REFCLSID clsid, DWORD answer_limit) noexcept;
