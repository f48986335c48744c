// How an exception finds its handlers in the 32-bit DLL: by what the compiler has noted of each function in
// one table. The library's own search has a lock for any number of tables, a kernel handle that nobody closes
// when the DLL goes.
#include <windows.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

// What the compiler has noted of a function.
struct Note {
  std::uint32_t Length;    // of what follows it
  std::uint32_t ToCommon;  // none where it is itself what others have in common
  std::int32_t Begin;      // of the function
  std::uint32_t Size;
};

// Whether functions that have this in common tell their places by the distance, as those of the library do,
// or by the address, as those of the product. It begins like a note; a text says what follows: for each
// letter something.
bool are_Distances(const std::byte* common) {
  const auto* letters = reinterpret_cast<const char*>(common + 2 * sizeof(std::uint32_t) + 1);
  const auto* told =
      letters + std::strlen(letters) + 1 + 4;  // a byte each: two factors, a register, a length
  for (; *letters != 'R' && *letters != '\0'; ++letters)
    told += *letters == 'P' ? 1 + sizeof(std::uint32_t) : *letters == 'L' ? 1 : 0;
  return *letters == 'R' && (*told & 0x70) == 0x10;
}

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
    if (note.ToCommon != 0) {
      const auto* const common = place + offsetof(Note, ToCommon) - note.ToCommon;
      auto* const function = are_Distances(common)
                                 ? const_cast<std::byte*>(place) + offsetof(Note, Begin) + note.Begin
                                 : std::bit_cast<std::byte*>(note.Begin);
      if (static_cast<std::size_t>(static_cast<std::byte*>(instruction) - function) < note.Size) {
        *bases = {nullptr, nullptr, function};
        return place;
      }
    }
    place += sizeof note.Length + note.Length;
  }
}

}  // extern "C"
