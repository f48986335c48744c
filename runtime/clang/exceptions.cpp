// The library's own versions of these few functions keep what belongs to a thread's exceptions under an index
// of fibers, and have the system call the DLL for it when a thread ends, even where the DLL has gone by then.
#include <windows.h>

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

// The names are the compiler's.
extern "C" {

// What the compiler keeps for this thread.
void* __cxa_get_globals() noexcept;
void* __cxa_get_globals_fast() noexcept;

void* __cxa_get_globals() noexcept {
  return enter_Exceptions();
}

void* __cxa_get_globals_fast() noexcept {
  return enter_Exceptions();
}

// The DLL has no variables that each thread has for itself, so threads come and go without it.
extern const PIMAGE_TLS_CALLBACK __dyn_tls_init_callback;
const PIMAGE_TLS_CALLBACK __dyn_tls_init_callback = nullptr;

}  // extern "C"
