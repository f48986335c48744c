#include "base/process_values.h"

#include <cstdint>

#include "base/thread_slot.h"

#ifndef NDEBUG
namespace {

constinit ThreadSlot held_locks;  // the count itself, so that nothing is allocated for it

std::intptr_t count_Held() {
  return reinterpret_cast<std::intptr_t>(held_locks.get());
}

}  // namespace

void count_Locks(int difference) noexcept {
  held_locks.set(reinterpret_cast<void*>(count_Held() + difference));
}

void assert_Unlocked() noexcept {
  if (count_Held() != 0)
    __builtin_trap();
}
#endif
