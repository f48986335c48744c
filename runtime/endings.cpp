// Where the compiler's runtime ends a process, it would write to a console and run handlers of the process,
// or open a window. A delivered file ends the process at once instead.
#include <cstdlib>

#include "runtime/fast_fail.h"

// The names are the compiler's.
extern "C" {

[[noreturn]] void __cxa_pure_virtual();

void abort() {
  fail_Fast(FAST_FAIL_FATAL_APP_EXIT);
}

// A method was called of an object that is not whole yet or no more.
void __cxa_pure_virtual() {
  fail_Fast(FAST_FAIL_VTGUARD_CHECK_FAILURE);
}

}  // extern "C"
