// The end of a process in which something can no longer be trusted. No state.
#pragma once

#include <windows.h>

// Ends the process at once: no handler, destructor or message box of anybody runs, and the system's error
// reporting gets the finding. The reason is one of the system's FAST_FAIL_ numbers.
[[noreturn]] inline void fail_Fast(unsigned int reason) noexcept {
#ifdef __aarch64__
  register unsigned int told asm("w0") = reason;
  asm volatile("brk #0xf003" : : "r"(told));
#else
  asm volatile("int $0x29" : : "c"(reason));
#endif
  __builtin_unreachable();
}
