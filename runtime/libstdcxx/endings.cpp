// How libstdc++ and the start-up code beside it would end a process, see runtime/endings.cpp.
#include "runtime/fast_fail.h"

namespace __gnu_cxx {

// Where an exception leaves a function that promised none.
void __verbose_terminate_handler() {
  fail_Fast(FAST_FAIL_FATAL_APP_EXIT);
}

}  // namespace __gnu_cxx

// The names are the compiler's.
extern "C" {

[[noreturn]] void _amsg_exit(int number);

// The module was loaded and cannot begin.
void _amsg_exit(int) {
  fail_Fast(FAST_FAIL_FATAL_APP_EXIT);
}

}  // extern "C"
