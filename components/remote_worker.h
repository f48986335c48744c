// Threads that work on objects of other processes, so that nobody else waits for these. They share COM's
// multi-threaded apartment, to which all such objects belong: the workers alone make, call and release them.
// There are as many as strands have been at work at the same time; idle ones stay, since the apartment ends
// with its last thread, and each keeps the module loaded. The threads of the system's pool would neither keep
// an apartment nor end when the module is to go. The state is the workers, until the module unloads.
#pragma once

#include <functional>
#include <list>
#include <memory>

#include "base/process_values.h"

// It owns all that it works on, and answers for its failures itself.
using Work = std::function<void()>;

// Work that is done in its order, by one worker at a time. Different strands never wait for each other.
class Strand : public std::enable_shared_from_this<Strand> {
 public:
  enum class State { Held, Idle, Busy };
  explicit Strand(State state) : m_state(state) {}
  ~Strand() = default;
  Strand(const Strand&) = delete;
  Strand& operator=(const Strand&) = delete;

  // Has the work done behind the earlier. Throws when there is no memory or no thread for it, or when too
  // much of it waits: a process that hangs must not fill this one.
  void add(Work work);

  // Has a strand that was held begin with its work.
  void begin() noexcept;

  // Does the work until there is none; called by a worker.
  void run() noexcept;

 private:
  SRWLOCK m_lock = SRWLOCK_INIT;
  std::list<Work> m_work;  // this and the next under the lock
  State m_state;
};

// Ends the workers, each after the work that waits for it; called when no strand will have more. False while
// one has not ended.
bool end_Workers() noexcept;
