// A window of Explorer: a thread in an apartment of its own, which does what it is told.
#pragma once

#include <windows.h>

#include <ole2.h>

#include <functional>
#include <utility>

#include "base/process_values.h"
#include "tests/thread.h"

class Window {
 public:
  Window() = default;
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;
  ~Window() { start(nullptr); }
  // `start` returns at once, `run` when the routine is done.
  void start(std::function<void()> routine) {
    wait();
    m_routine = std::move(routine);
    become(true);
  }
  void wait() { await(false); }
  void run(std::function<void()> routine) {
    start(std::move(routine));
    wait();
  }

 private:
  void await(bool is_busy) {
    const Locked lock(m_lock);
    while (m_is_busy != is_busy)
      SleepConditionVariableSRW(&m_changed, &m_lock, INFINITE, 0);
  }
  void become(bool is_busy) {
    const Locked lock(m_lock);
    m_is_busy = is_busy;
    WakeAllConditionVariable(&m_changed);
  }
  void work() {
    CoInitialize(nullptr);
    for (await(true); m_routine; await(true)) {
      std::exchange(m_routine, nullptr)();
      become(false);
    }
    CoUninitialize();
  }

  SRWLOCK m_lock = SRWLOCK_INIT;
  CONDITION_VARIABLE m_changed = CONDITION_VARIABLE_INIT;
  std::function<void()> m_routine;  // whose it is, tells the next
  bool m_is_busy = false;
  const Thread m_thread{[this] { work(); }};
};
