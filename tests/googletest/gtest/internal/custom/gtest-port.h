// What googletest asks of whoever builds it where the C++ library has no threads: how a thread waits until it
// may begin. The names are the library's, and only its own tests have threads of that kind.
#pragma once

#include <atomic>

#define GTEST_HAS_NOTIFICATION_ 1

namespace testing::internal {

class Notification {
 public:
  void Notify() { m_is_given = true; }
  void WaitForNotification() const {
    while (!m_is_given) {
    }
  }

 private:
  std::atomic<bool> m_is_given = false;
};

}  // namespace testing::internal
