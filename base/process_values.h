// What all windows of Explorer have in common: values that the process settles once. Explorer runs each of
// its windows on a thread of its own, so each value stands behind a lock, which is held for the look at it
// alone: a thread that called a component, the registry, a file or a window under a lock could hold up all
// others. Objects never live here (base/apartment.h).
#pragma once

#include <windows.h>

#include <concepts>
#include <optional>
#include <utility>

#ifdef NDEBUG
inline void assert_Unlocked() noexcept {}
#else
// Ends the program when this thread holds a lock: whatever leaves the DLL asks this first.
void assert_Unlocked() noexcept;
// Counts the locks that this thread holds.
void count_Locks(int difference) noexcept;
#endif

// Holds a lock from here to its end.
class Locked {
 public:
  explicit Locked(SRWLOCK& lock) noexcept : m_lock(&lock) {
    AcquireSRWLockExclusive(m_lock);
#ifndef NDEBUG
    count_Locks(1);
#endif
  }
  ~Locked() {
#ifndef NDEBUG
    count_Locks(-1);
#endif
    ReleaseSRWLockExclusive(m_lock);
  }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

 private:
  SRWLOCK* m_lock;
};

// Values that change together.
template <typename Values>
class Guarded {
 public:
  // What the body answers for the values, which are its own meanwhile.
  template <std::invocable<Values&> Body>
  auto with(Body&& body) {
    const Locked lock(m_lock);
    return std::forward<Body>(body)(m_values);
  }

 private:
  SRWLOCK m_lock = SRWLOCK_INIT;
  Values m_values;
};

// A value that does not change any more once it is settled. Two threads may look for it at the same time; the
// first answer stands.
template <typename Value>
class Settled {
 public:
  // Nothing before the value is settled.
  std::optional<Value> get() {
    return m_value.with([](const auto& value) { return value; });
  }
  // The value that stands from now on.
  Value settle(Value found) {
    return m_value.with([&found](auto& value) {
      if (!value)
        value = std::move(found);
      return *value;
    });
  }
  // The same; `find` looks for the value where none is settled yet.
  template <std::invocable Find>
  Value get_Or(Find&& find) {
    auto known = get();
    return known ? *std::move(known) : settle(std::forward<Find>(find)());
  }

 private:
  Guarded<std::optional<Value>> m_value;
};
