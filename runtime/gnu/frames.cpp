// How an exception finds its handlers in the 32-bit DLL: by what the compiler has noted of each function in
// one table. The library's own search has a lock for any number of tables, a kernel handle that nobody closes
// when the DLL goes.
#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace {

// What the compiler has noted of a function; places are told by their distance.
struct Note {
  std::uint32_t Length;    // of what follows it
  std::uint32_t ToCommon;  // none where it is itself what others have in common
  std::int32_t Begin;      // of the function
  std::uint32_t Size;
};

// What the function's notes are relative to.
struct Bases {
  void* Texts;
  void* Data;
  void* Function;
};

const std::byte* table = nullptr;

HMODULE WINAPI find_NoModule(const char*) {
  return nullptr;
}

}  // namespace

// The names are the compiler's.
extern "C" {

// By this its start-up code would look for the same runtime in a DLL. Where somebody else's code in the
// process has that, the table would go there, and no exception would find a handler here.
extern HMODULE(WINAPI* const imported_GetModuleHandleA)(const char*) asm("__imp__GetModuleHandleA@4");
HMODULE(WINAPI* const imported_GetModuleHandleA)(const char*) = find_NoModule;

// The start-up code tells the table, and takes it back when the DLL goes.
void __register_frame_info(const void* begin, void* unused);
void* __deregister_frame_info(const void* begin);

// The note of the function that has the instruction; null for a function of others.
const void* _Unwind_Find_FDE(void* instruction, Bases* bases);

void __register_frame_info(const void* begin, void*) {
  table = static_cast<const std::byte*>(begin);
}

void* __deregister_frame_info(const void*) {
  return nullptr;
}

const void* _Unwind_Find_FDE(void* instruction, Bases* bases) {
  const auto* place = table;
  for (;;) {
    const auto& note = *reinterpret_cast<const Note*>(place);
    if (note.Length == 0)
      return nullptr;
    auto* const function = const_cast<std::byte*>(place) + offsetof(Note, Begin) + note.Begin;
    if (note.ToCommon != 0 && static_cast<std::byte*>(instruction) >= function &&
        static_cast<std::byte*>(instruction) < function + note.Size) {
      *bases = {nullptr, nullptr, function};
      return place;
    }
    place += sizeof note.Length + note.Length;
  }
}

}  // extern "C"
