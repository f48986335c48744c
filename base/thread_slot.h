// A pointer that each thread has for itself: null until the thread sets its own. The system's index for it is
// taken with the first use; two threads may have that at the same time.
#pragma once

#include <windows.h>

#include <atomic>

class ThreadSlot {
 public:
  constexpr ThreadSlot() = default;
  ~ThreadSlot() = default;  // the index stays, see `give_Back`
  ThreadSlot(const ThreadSlot&) = delete;
  ThreadSlot& operator=(const ThreadSlot&) = delete;

  void* get() const noexcept {
    const auto index = m_index.load();
    const auto error = GetLastError();  // which the platform resets here
    auto* const value = index == TLS_OUT_OF_INDEXES ? nullptr : TlsGetValue(index);
    SetLastError(error);
    return value;
  }
  // False when the system has no index or no memory for it.
  bool set(void* value) noexcept {
    auto index = m_index.load();
    if (index == TLS_OUT_OF_INDEXES) {
      const auto made = TlsAlloc();
      if (m_index.compare_exchange_strong(index, made))
        index = made;
      else
        TlsFree(made);
    }
    return TlsSetValue(index, value) != FALSE;
  }
  // Gives the index back; no thread may use it any more.
  void give_Back() noexcept {
    if (const auto index = m_index.exchange(TLS_OUT_OF_INDEXES); index != TLS_OUT_OF_INDEXES)
      TlsFree(index);
  }

 private:
  std::atomic<DWORD> m_index = TLS_OUT_OF_INDEXES;
};
