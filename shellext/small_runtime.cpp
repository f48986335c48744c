// The library's own versions of these few functions bring its text formatting and its name decoder with them,
// 100 KiB that the DLL has no use for: it shows no message of an exception, but skips the step.
#include <cstdlib>
#include <new>

namespace {

// Every exception of the library means the same to the product, see support/boundary.h.
[[noreturn]] void give_Up() {
  throw std::bad_alloc();
}

}  // namespace

// NOLINTBEGIN(cert-dcl58-cpp,cert-dcl50-cpp): the names and the forms are the library's.
namespace std {

void __throw_bad_alloc() {
  give_Up();
}

void __throw_bad_array_new_length() {
  give_Up();
}

void __throw_length_error(const char*) {
  give_Up();
}

void __throw_logic_error(const char*) {
  give_Up();
}

void __throw_out_of_range_fmt(const char*, ...) {
  give_Up();
}

}  // namespace std
// NOLINTEND(cert-dcl58-cpp,cert-dcl50-cpp)

namespace __gnu_cxx {

// Where an exception leaves a function that promised none.
void __verbose_terminate_handler() {
  std::abort();
}

}  // namespace __gnu_cxx
