// The library's own versions of these few functions bring its text formatting and its name decoder with them,
// 100 KiB that the DLL has no use for: it shows no message of an exception, but skips the step.
#include <cstring>
#include <memory>
#include <new>

#include "runtime/exception_memory.h"

namespace {

// Room for one exception: the runtime keeps its own record, at most this large, before the object.
constexpr std::size_t record_size = 256;

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

#ifdef NDEBUG  // the debug flavour asks for more of the library, and has its own
// Asked where an object may have been made together with its count by another module, which this one has none
// of; the library's own comes with a set of locks.
bool _Sp_make_shared_tag::_S_eq(const type_info&) noexcept {
  return false;
}
#endif

}  // namespace std
// NOLINTEND(cert-dcl58-cpp,cert-dcl50-cpp)

// The names are the compiler's.
extern "C" {

// Memory for the object of a throw expression, and its end.
void* __cxa_allocate_exception(std::size_t size) noexcept;
void __cxa_free_exception(void* object) noexcept;

void* __cxa_allocate_exception(std::size_t size) noexcept {
  void* memory = take_ExceptionMemory(record_size + size);
  std::memset(memory, 0, record_size);
  return static_cast<unsigned char*>(memory) + record_size;
}

void __cxa_free_exception(void* object) noexcept {
  give_ExceptionMemory(static_cast<unsigned char*>(object) - record_size);
}

// At load the runtime would mend addresses that another DLL has. The DLL takes no data from another, and the
// linker sees to that, so mending is left out.
void _pei386_runtime_relocator();
void _pei386_runtime_relocator() {}

}  // extern "C"
