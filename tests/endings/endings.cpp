// A program that ends in the way that its argument names, so that a case can look at how it ended.
#include <windows.h>

#include <cstdlib>
#include <string_view>

#include "runtime/stack_guard.h"
#include "tests/explorer.h"

// Of an object that the compiler cannot look through, so that it does not know which method is called.
struct Unfinished {
  Unfinished() { call(); }
  virtual ~Unfinished() = default;
  void call() {
    auto* volatile self = this;
    self->run();
  }
  virtual void run() = 0;
};
struct Finished : Unfinished {
  void run() override {}
};

namespace {

// Returns over what it has overwritten.
__attribute__((noinline)) void write_BeyondItsFrame(std::size_t length) {
  char buffer[16];
  volatile char* const bytes = buffer;
  for (std::size_t index = 0; index < length; ++index)
    bytes[index] = 1;
}

void throw_Number() {
  throw 1;
}

void let_ExceptionOut() noexcept {
  throw_Number();
}

constexpr UINT was_Called = 77;

void WINAPI note_Call() {
  TerminateProcess(GetCurrentProcess(), was_Called);
}

// From now on the process ends with the next call that the used DLL makes.
HMODULE watch_Dll() {
  const HMODULE dll = LoadLibraryW(built_File(L"NorvakContextMenu.dll").c_str());
  CoInitialize(nullptr);
  {
    const Library used;
    const auto object = used.create();
    select(object, {L"c:\\a.pdf"});
    offered(object);
  }
  for (const auto& [name, address] : imports_Of(dll))
    patch_Import(name, reinterpret_cast<void*>(note_Call), dll);
  return dll;
}

}  // namespace

// It chooses the value that guards all other frames.
__attribute__((no_stack_protector)) int main(int count, char** arguments) {
  choose_StackGuard();
  SetErrorMode(SEM_NOGPFAULTERRORBOX);
  const std::string_view way = count > 1 ? arguments[1] : "";
  if (way == "overrun")
    write_BeyondItsFrame(64);
  if (way == "abort")
    std::abort();
  if (way == "terminate")
    let_ExceptionOut();
  if (way == "pure")
    Finished();
  if (way == "processEnds")
    watch_Dll();
  if (way == "dllGoes")
    FreeLibrary(watch_Dll());
  write_BeyondItsFrame(16);
  return 0;
}
