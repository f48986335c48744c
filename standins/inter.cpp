// "NorvakInter.SemaPhore": lets one process at a time work on what the suite's processes share.
#include <cwchar>
#include <memory>

#include "base/handles.h"
#include "standins/component_server.h"

namespace standins {
namespace {

// Explorer waits here on the thread that owns the menu. A holder that takes longer is stuck, and passing it
// by costs at worst one value; waiting for it would cost the desktop.
constexpr DWORD longest_lock_milliseconds = 3000;

// The system's surrogate has one thread for the objects of all programs, and a mutex never makes its own
// thread wait. So the objects there wait for each other by these: the one that holds the lock, and the event
// that it has let go.
const void* holder_in_surrogate = nullptr;
unique_kernel_handle released_in_surrogate;

bool is_Surrogate() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
  constexpr std::wstring_view name = L"\\dllhost.exe";
  return path.size() > name.size() && _wcsicmp(path.c_str() + path.size() - name.size(), name.data()) == 0;
}

// A share in the lock. The lock belongs to a thread, so that nested holds of one thread never wait; the
// apartment model sees to it that an object ends on the thread that it was called on.
class SharedLock {
 public:
  SharedLock() = default;
  SharedLock(const SharedLock&) = delete;
  SharedLock& operator=(const SharedLock&) = delete;
  ~SharedLock() {
    for (; m_holds > 0; --m_holds)
      ReleaseMutex(m_mutex.get());
    if (holder_in_surrogate == this) {
      holder_in_surrogate = nullptr;
      SetEvent(released_in_surrogate.get());
    }
  }

  // False when the present holder has not let go in time.
  bool take() {
    if (!m_mutex)
      m_mutex.reset(CreateMutexW(nullptr, FALSE, L"Local\\NorvakInter.SemaPhore"));
    const auto is_shared = is_Surrogate();
    if (is_shared && !wait_ForOtherObjects())
      return false;
    const auto waited = WaitForSingleObject(m_mutex.get(), longest_lock_milliseconds);
    // A holder that died without letting go leaves the lock to the next one.
    const auto taken = waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED;
    m_holds += taken ? 1 : 0;
    if (is_shared && taken)
      holder_in_surrogate = this;
    return taken;
  }

 private:
  // Calls come in meanwhile, the holder's release among them.
  bool wait_ForOtherObjects() const {
    if (!released_in_surrogate)
      released_in_surrogate.reset(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    const auto end = GetTickCount64() + longest_lock_milliseconds;
    while (holder_in_surrogate != nullptr && holder_in_surrogate != this) {
      const auto now = GetTickCount64();
      DWORD index = 0;
      HANDLE released = released_in_surrogate.get();
      if (now >= end ||
          FAILED(CoWaitForMultipleHandles(0, static_cast<DWORD>(end - now), 1, &released, &index)))
        return false;
    }
    return true;
  }

  unique_kernel_handle m_mutex;
  int m_holds = 0;
};

std::vector<Member> create_LockMembers() {
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
    create_LockMembers,
};

}  // namespace standins
