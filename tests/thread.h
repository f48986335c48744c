// A thread that a test begins and waits for. The C++ library that everything is built with has none: it keeps
// to what the system's own threads can do.
#pragma once

#include <windows.h>

#include <functional>
#include <utility>

#include "base/handles.h"

class Thread {
 public:
  explicit Thread(std::function<void()> routine)
      : m_routine(std::move(routine)), m_handle(CreateThread(nullptr, 0, enter, this, 0, nullptr)) {}
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;
  ~Thread() { join(); }
  // Returns when the routine is done.
  void join() const { WaitForSingleObject(m_handle.get(), INFINITE); }

 private:
  static DWORD WINAPI enter(void* thread) {
    static_cast<Thread*>(thread)->m_routine();
    return 0;
  }

  const std::function<void()> m_routine;
  const unique_kernel_handle m_handle;
};
