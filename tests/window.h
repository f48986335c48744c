// A window of Explorer: a thread in an apartment of its own, which does what it is told.
#pragma once

#include <windows.h>

#include <ole2.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

class Window {
 public:
  Window() = default;
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;
  ~Window() {
    start(nullptr);
    m_thread.join();
  }
  // `start` returns at once, `run` when the routine is done.
  void start(std::function<void()> routine) {
    wait();
    const std::lock_guard lock(m_lock);
    m_routine = std::move(routine);
    m_is_busy = true;
    m_changed.notify_all();
  }
  void wait() {
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return !m_is_busy; });
  }
  void run(std::function<void()> routine) {
    start(std::move(routine));
    wait();
  }

 private:
  void work() {
    CoInitialize(nullptr);
    for (std::unique_lock lock(m_lock);;) {
      m_changed.wait(lock, [this] { return m_is_busy; });
      if (!m_routine)
        break;
      lock.unlock();
      std::exchange(m_routine, nullptr)();
      lock.lock();
      m_is_busy = false;
      m_changed.notify_all();
    }
    CoUninitialize();
  }

  std::mutex m_lock;
  std::condition_variable m_changed;
  std::function<void()> m_routine;
  bool m_is_busy = false;
  std::thread m_thread{[this] { work(); }};
};
