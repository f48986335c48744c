// The one place where C++ exceptions end: every entry by which the platform reaches us runs its body in here.
#pragma once

#include <utility>

// Runs the body and returns what it returns, or `failure_result` when it throws (memory ran out, or one of
// the platform's COM helpers raised an error).
template <typename Result, typename Body>
Result run_Guarded(Result failure_result, Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    return failure_result;
  }
}

// The same for a step without a result: what it could not finish is skipped, and the next step follows.
template <typename Body>
void run_Guarded(Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
  } catch (...) {
    return;
  }
}

// Calls its routine when the scope ends.
template <typename Routine>
class ScopeExit {
 public:
  explicit ScopeExit(Routine routine) : m_routine(std::move(routine)) {}
  ~ScopeExit() { m_routine(); }
  ScopeExit(const ScopeExit&) = delete;
  ScopeExit& operator=(const ScopeExit&) = delete;

 private:
  Routine m_routine;
};

// Marks what is under way until the scope ends, so that a call nested in it can tell: what looks for
// something may need the very thing itself.
class UnderWay {
 public:
  explicit UnderWay(bool& mark) : m_mark(mark), m_was_marked(std::exchange(mark, true)) {}
  ~UnderWay() { m_mark = m_was_marked; }
  UnderWay(const UnderWay&) = delete;
  UnderWay& operator=(const UnderWay&) = delete;

  bool is_Nested() const { return m_was_marked; }

 private:
  bool& m_mark;
  bool m_was_marked;
};
