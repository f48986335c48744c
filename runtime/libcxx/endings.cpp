// How libc++ would end a process, see runtime/endings.cpp.
#include <__verbose_abort>

#include "runtime/fast_fail.h"

// NOLINTBEGIN(cert-dcl58-cpp,cert-dcl50-cpp): the names and the forms are the library's.
// The library has found one of its own conditions broken.
void std::__libcpp_verbose_abort(const char*, ...) {
  fail_Fast(FAST_FAIL_FATAL_APP_EXIT);
}

// Where an exception leaves a function that promised none, among others.
extern "C" [[noreturn]] void abort_message(const char*, ...) {
  fail_Fast(FAST_FAIL_FATAL_APP_EXIT);
}
// NOLINTEND(cert-dcl58-cpp,cert-dcl50-cpp)
