// "NorvakInter.SemaPhore": lets one process at a time work on what the suite's processes share.
#include <memory>

#include "suite/component_server.h"
#include "support/handles.h"

namespace suite {
namespace {

// Explorer waits here on the thread that owns the menu. A holder that takes longer is stuck, and passing it
// by costs at worst one value; waiting for it would cost the desktop.
constexpr DWORD longest_lock_milliseconds = 3000;

// A share in the lock. The lock belongs to a thread, so that nested holds of one thread never wait; the
// apartment model sees to it that an object ends on the thread that it was called on.
class SharedLock {
 public:
  SharedLock() = default;
  SharedLock(const SharedLock&) = delete;
  SharedLock& operator=(const SharedLock&) = delete;
  ~SharedLock() {
    for (; m_holds > 0; --m_holds) {
      ReleaseMutex(m_mutex.get());
    }
  }

  // False when the present holder has not let go in time.
  bool take() {
    if (!m_mutex) {
      m_mutex.reset(CreateMutexW(nullptr, FALSE, L"Local\\NorvakInter.SemaPhore"));
    }
    const DWORD waited = WaitForSingleObject(m_mutex.get(), longest_lock_milliseconds);
    // A holder that died without letting go leaves the lock to the next one.
    const bool taken = waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED;
    m_holds += taken ? 1 : 0;
    return taken;
  }

 private:
  unique_kernel_handle m_mutex;
  int m_holds = 0;
};

std::vector<Member> create_lock_members() {
  const auto lock = std::make_shared<SharedLock>();
  return {
      {L"info", call_or_read, 0, [](Arguments) { return _variant_t(1L); }},
      // The caller's name and the two numbers change nothing: all callers guard the same store.
      {L"WaitingForSemaphore", call_or_read, 3, [lock](Arguments) { return _variant_t(lock->take()); }},
  };
}

}  // namespace

const Component semaphore_component = {
    L"NorvakInter",
    L"NorvakInter.SemaPhore",
    {0x6403df2d, 0x5d83, 0x4677, {0x90, 0x45, 0x00, 0x6b, 0x29, 0x2e, 0x15, 0xd6}},
    create_lock_members,
};

}  // namespace suite
