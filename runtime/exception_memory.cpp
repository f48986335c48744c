#include "runtime/exception_memory.h"

#include <windows.h>

#include <array>

#include "runtime/fast_fail.h"

namespace {

struct alignas(16) Reserve {
  volatile LONG IsTaken = 0;
  alignas(16) std::array<unsigned char, 512> Bytes{};  // the libraries' own record takes up to half of it
};

// For exceptions that say that memory has run out; the library's own, a hundred times as large, is allocated
// with every load. They are caught where they happen, so two threads with some exceptions inside each other
// fit.
std::array<Reserve, 8> reserves;

void* take_Reserve(std::size_t size) noexcept {
  for (auto& reserve : reserves)
    if (size <= reserve.Bytes.size() && InterlockedExchange(&reserve.IsTaken, TRUE) == FALSE)
      return reserve.Bytes.data();
  fail_Fast(FAST_FAIL_FATAL_APP_EXIT);
}

// What the library keeps for a thread that has exceptions; the first two members are its own.
struct Exceptions {
  void* Caught = nullptr;
  unsigned int Uncaught = 0;
  volatile LONG Thread = 0;
};

// The library's own has a thread-local index, which nobody gives back when the DLL goes, and memory for each
// thread, without which it ends the process. A thread needs its place here for as long as it has an exception
// under way, and each of them is caught by the function that asked for it.
std::array<Exceptions, 64> exceptions;

Exceptions* find_Exceptions() noexcept {
  const auto thread = static_cast<LONG>(GetCurrentThreadId());
  for (auto& place : exceptions)
    if (place.Thread == thread)
      return &place;
  return nullptr;
}

Exceptions* enter_Exceptions() noexcept {
  // cppcheck-suppress constVariablePointer ; the caller changes it
  if (auto* known = find_Exceptions())
    return known;
  const auto thread = static_cast<LONG>(GetCurrentThreadId());
  for (;; Sleep(1))
    for (auto& place : exceptions)
      if (InterlockedCompareExchange(&place.Thread, thread, 0) == 0)
        return &place;
}

// Lets the place go with the thread's last exception.
void leave_Exceptions() {
  auto* place = find_Exceptions();
  if (place != nullptr && place->Caught == nullptr && place->Uncaught == 0)
    InterlockedExchange(&place->Thread, 0);
}

}  // namespace

void* take_ExceptionMemory(std::size_t size) noexcept {
  if (void* memory = HeapAlloc(GetProcessHeap(), 0, size))
    return memory;
  return take_Reserve(size);
}

void give_ExceptionMemory(void* memory) noexcept {
  leave_Exceptions();
  for (auto& reserve : reserves) {
    if (reserve.Bytes.data() == memory) {
      InterlockedExchange(&reserve.IsTaken, FALSE);
      return;
    }
  }
  HeapFree(GetProcessHeap(), 0, memory);
}

// The names are those of both libraries.
extern "C" {

// What the library keeps for this thread.
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
