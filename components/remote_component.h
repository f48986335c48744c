// Components in a process of their own, as are those that exist for the other bitness only: the system's
// surrogate loads them. Such a process may be slow, hang or end, so nothing here is waited for that needs no
// answer, and an answer no longer than the caller has patience for (patience.h, surrogate.h). What has been
// made or sent stays in the queue of its object meanwhile and is done as soon as the process comes round.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <wrl/client.h>

#include "base/module.h"

// A factory of objects from another process, a 32-bit one first. It makes an object without waiting for it,
// except in a picked action: that waits, and there is no object when it was not made. Before a menu
// there is none only when the class is known to be registered nowhere.
//
// A call that passes no room for a result is sent and not waited for; it fails only where the object is known
// to be gone. Others take `answer_limit` milliseconds at most. The sign of life (`info`) is what is known of
// it before a menu, and asked for in the background. Calls take and give plain values: numbers, truth
// values and texts. Threads may use one object; its calls are made in their order, and objects never wait for
// each other.
Microsoft::WRL::ComPtr<IClassFactory> make_RemoteFactory(REFCLSID clsid, DWORD answer_limit);

bool is_RemoteObject(IDispatch* object) noexcept;
bool is_GoneObject(IDispatch* object) noexcept;
bool is_HeldUpObject(IDispatch* object) noexcept;

// Whether the object, which may be null, is one of these. A 32-bit program has none.
inline bool is_Remote([[maybe_unused]] IDispatch* object) noexcept {
  if constexpr (is_SuitesBitness)
    return false;
  else
    return is_RemoteObject(object);
}

// Whether it is one that could not be made or whose process has ended.
inline bool is_Gone([[maybe_unused]] IDispatch* object) noexcept {
  if constexpr (is_SuitesBitness)
    return false;
  else
    return is_GoneObject(object);
}

// Whether it is one whose answer is late: it may still be at work.
inline bool is_Late([[maybe_unused]] IDispatch* object) noexcept {
  if constexpr (is_SuitesBitness)
    return false;
  else
    return is_HeldUpObject(object);
}

// Lets the factories and the workers go; called when the module may be unloaded. False while an object or
// some work for one is left.
bool end_RemoteWork() noexcept;
