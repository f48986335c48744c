#include "runtime/stack_guard.h"

#include <windows.h>

#include <ntsecapi.h>

#include "runtime/fast_fail.h"

// The names are the compiler's.
extern "C" {

void* __stack_chk_guard = nullptr;

// Reached when a function has written beyond its frame.
[[noreturn]] void __stack_chk_fail();

void __stack_chk_fail() {
  fail_Fast(FAST_FAIL_STACK_COOKIE_CHECK_FAILURE);
}

}  // extern "C"

void choose_StackGuard() noexcept {
  if (__stack_chk_guard != nullptr)
    return;
  void* chosen = nullptr;
  if (!RtlGenRandom(&chosen, sizeof chosen))
    chosen = &chosen;  // at least as unforeseeable as the stack's place
  // Once and for all: another thread may have frames with the first value by now.
  InterlockedCompareExchangePointer(&__stack_chk_guard, chosen, nullptr);
}
