// The end of a process in which something can no longer be trusted. No state.
#pragma once

#include <windows.h>

// Ends the process at once: no handler, destructor or message box of anybody runs, and the system's error
// reporting gets the finding. The reason is one of the system's FAST_FAIL_ numbers.
[[noreturn]] inline void fail_Fast(unsigned int reason) noexcept {
  asm volatile("int $0x29" : : "c"(reason));
  __builtin_unreachable();
}
