// The library's own versions of these few functions bring its text formatting and its name decoder with them,
// 100 KiB that the DLL has no use for: it shows no message of an exception, but skips the step.
#include <windows.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

namespace {

// Room for one exception: the runtime keeps its own record, at most this large, before the object.
constexpr std::size_t record_size = 256;

struct alignas(16) Reserve {
  volatile LONG IsTaken = 0;
  alignas(16) std::array<unsigned char, 2 * record_size> Bytes{};
};

// For exceptions that say that memory has run out; the library's own, a hundred times as large, is allocated
// with every load. They are caught where they happen, so two threads with some exceptions inside each other
// fit.
std::array<Reserve, 8> reserves;

void* take_Reserve(std::size_t size) {
  for (auto& reserve : reserves)
    if (size <= reserve.Bytes.size() && InterlockedExchange(&reserve.IsTaken, TRUE) == FALSE)
      return reserve.Bytes.data();
  std::terminate();
}

// Every exception of the library means the same to the product, see base/boundary.h.
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

// The names are the compiler's.
extern "C" {

// Memory for the object of a throw expression, and its end.
void* __cxa_allocate_exception(std::size_t size) noexcept;
void __cxa_free_exception(void* object) noexcept;

void* __cxa_allocate_exception(std::size_t size) noexcept {
  void* memory = HeapAlloc(GetProcessHeap(), 0, record_size + size);
  if (memory == nullptr)
    memory = take_Reserve(record_size + size);
  std::memset(memory, 0, record_size);
  return static_cast<unsigned char*>(memory) + record_size;
}

void __cxa_free_exception(void* object) noexcept {
  auto* memory = static_cast<unsigned char*>(object) - record_size;
  for (auto& reserve : reserves) {
    if (reserve.Bytes.data() == memory) {
      InterlockedExchange(&reserve.IsTaken, FALSE);
      return;
    }
  }
  HeapFree(GetProcessHeap(), 0, memory);
}

}  // extern "C"
