#include "runtime/stack_guard.h"

#include <windows.h>

#include <ntsecapi.h>

// The names are the compiler's.
extern "C" {

void* __stack_chk_guard = nullptr;

// Reached when a function has written beyond its frame: nothing can be trusted any more, so the process ends
// at once and leaves the finding to the system's error reporting.
[[noreturn]] void __stack_chk_fail();

void __stack_chk_fail() {
  __builtin_trap();
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
