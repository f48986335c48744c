// Where libc++ takes the memory of its exceptions, see runtime/exception_memory.cpp. What it keeps
// for a thread it would have under an index of fibers, and have the system call the DLL for it when the
// thread ends, even where the DLL has gone by then.
#include <cstddef>

#include "runtime/exception_memory.h"

namespace __cxxabiv1 {

// Memory for the object of a throw expression with the library's own record before it, and its end.
void* __aligned_malloc_with_fallback(std::size_t size);
void __aligned_free_with_fallback(void* memory);

void* __aligned_malloc_with_fallback(std::size_t size) {
  return take_ExceptionMemory(size);
}

void __aligned_free_with_fallback(void* memory) {
  give_ExceptionMemory(memory);
}

}  // namespace __cxxabiv1
