#include "support/process_values.h"

#include <cstdint>

#ifndef NDEBUG
namespace {

// The count stands in the thread's slot itself, so that nothing is allocated for it.
DWORD count_Slot() {
  static const DWORD slot = TlsAlloc();
  return slot;
}

std::intptr_t held_Locks() {
  const auto error = GetLastError();
  const auto count = reinterpret_cast<std::intptr_t>(TlsGetValue(count_Slot()));
  SetLastError(error);
  return count;
}

}  // namespace

void count_Locks(int difference) noexcept {
  TlsSetValue(count_Slot(), reinterpret_cast<void*>(held_Locks() + difference));
}

void assert_Unlocked() noexcept {
  if (held_Locks() != 0)
    __builtin_trap();
}
#endif
