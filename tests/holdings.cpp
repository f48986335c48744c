#include "tests/holdings.h"

#include <psapi.h>
#include <winternl.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <unordered_map>
#include <vector>

#include "tests/components.h"
#include "tests/machine.h"

// The platform has them, but its headers do not.
struct LoadedDll {
  ULONG Flags;
  const UNICODE_STRING *Path, *Name;
  HMODULE Base;
  ULONG Bytes;
};
extern "C" NTSTATUS WINAPI LdrRegisterDllNotification(ULONG flags,
                                                      void(CALLBACK* notify)(ULONG, const LoadedDll*, void*),
                                                      void* context, void** cookie);
extern "C" BOOLEAN WINAPI RtlDllShutdownInProgress();

namespace {

// In the order of the kinds.
constexpr const char* names[] = {"kernel handles", "GDI objects", "menus",
                                 "heap blocks",    "heap bytes",  "components"};

// Tries every possible handle; `step` is the smallest distance between the handles of two objects.
template <typename Handle, auto exists, ULONG_PTR step>
long existing() {
  long count = 0;
  for (ULONG_PTR handle = step; handle <= 0xFFFF; handle += step)
    count += exists(reinterpret_cast<Handle>(handle)) != 0;
  return count;
}

// The heaps' blocks are counted where other modules ask the system's lowest DLL for them: Wine 10 has pools
// of small blocks, each of which a walk through a heap shows as one block.
struct Block {
  HANDLE Heap = nullptr;
  std::size_t Bytes = 0;
};

template <typename Function>
Function* system_Function(const char* name) {
  return reinterpret_cast<Function*>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}
const auto own_heap = HeapCreate(HEAP_GENERATE_EXCEPTIONS, 0, 0);
const auto system_Allocate = system_Function<decltype(HeapAlloc)>("RtlAllocateHeap");
const auto system_Reallocate = system_Function<decltype(HeapReAlloc)>("RtlReAllocateHeap");
const auto system_Free = system_Function<decltype(HeapFree)>("RtlFreeHeap");
const auto system_Destroy = system_Function<decltype(HeapDestroy)>("RtlDestroyHeap");

// What the count itself needs is not counted.
template <typename Value>
struct OwnMemory {
  using value_type = Value;
  OwnMemory() = default;
  template <typename Other>
  explicit(false) OwnMemory(const OwnMemory<Other>&) {}
  Value* allocate(std::size_t count) {
    return static_cast<Value*>(system_Allocate(own_heap, 0, count * sizeof(Value)));
  }
  void deallocate(Value* values, std::size_t) { system_Free(own_heap, 0, values); }
  bool operator==(const OwnMemory&) const = default;
};
using Blocks = std::unordered_map<void*, Block, std::hash<void*>, std::equal_to<>,
                                  OwnMemory<std::pair<void* const, Block>>>;

auto& all_blocks = *new Blocks;  // for as long as anybody gives blocks back
SRWLOCK blocks_lock = SRWLOCK_INIT;

void with_Blocks(const auto& look) {
  // While the process ends, the lock may be that of a thread that is no more.
  if (RtlDllShutdownInProgress() != FALSE)
    return;
  AcquireSRWLockExclusive(&blocks_lock);
  look(all_blocks);
  ReleaseSRWLockExclusive(&blocks_lock);
}

void* WINAPI count_Allocated(HANDLE heap, DWORD flags, SIZE_T size) {
  void* const block = system_Allocate(heap, flags, size);
  if (block != nullptr)
    with_Blocks([&](Blocks& blocks) { blocks[block] = {heap, size}; });
  return block;
}

Block forget(void* block) {
  Block known;
  with_Blocks([&](Blocks& blocks) {
    if (const auto node = blocks.extract(block))
      known = node.mapped();
  });
  return known;
}

void* WINAPI count_Reallocated(HANDLE heap, DWORD flags, void* block, SIZE_T size) {
  const auto known = forget(block);
  void* const moved = system_Reallocate(heap, flags, block, size);
  with_Blocks([&](Blocks& blocks) {
    if (moved != nullptr)
      blocks[moved] = {heap, size};
    else if (known.Heap != nullptr)
      blocks[block] = known;
  });
  return moved;
}

BOOL WINAPI count_Freed(HANDLE heap, DWORD flags, void* block) {
  forget(block);
  return system_Free(heap, flags, block);
}

BOOL WINAPI count_Destroyed(HANDLE heap) {
  with_Blocks([=](Blocks& blocks) {
    std::erase_if(blocks, [=](const auto& block) { return block.second.Heap == heap; });
  });
  return system_Destroy(heap);
}

void watch(HMODULE module) {
  const std::pair<void*, void*> functions[] = {
      {reinterpret_cast<void*>(system_Allocate), reinterpret_cast<void*>(count_Allocated)},
      {reinterpret_cast<void*>(system_Reallocate), reinterpret_cast<void*>(count_Reallocated)},
      {reinterpret_cast<void*>(system_Free), reinterpret_cast<void*>(count_Freed)},
      {reinterpret_cast<void*>(system_Destroy), reinterpret_cast<void*>(count_Destroyed)}};
  for (const auto& [name, import] : imports_Of(module))
    for (const auto& [real, counting] : functions)
      if (import->u1.Function == reinterpret_cast<ULONG_PTR>(real))
        set_Import(*import, counting);
}

void CALLBACK watch_Loaded(ULONG reason, const LoadedDll* dll, void*) {
  constexpr ULONG loaded = 1;
  if (reason == loaded)  // its own code has not run yet
    watch(dll->Base);
}

bool watch_AllModules() {
  void* cookie = nullptr;
  LdrRegisterDllNotification(0, watch_Loaded, nullptr, &cookie);
  HMODULE modules[256];
  DWORD bytes = 0;
  K32EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &bytes);
  std::for_each_n(modules, bytes / sizeof *modules, watch);
  return true;
}

}  // namespace

Holdings Holdings::operator-(const Holdings& earlier) const {
  Holdings grown;
  std::ranges::transform(Counts, earlier.Counts, grown.Counts.begin(), std::minus());
  return grown;
}

void PrintTo(const Holdings& all, std::ostream* stream) {
  for (int kind = 0; kind < Holdings::Kinds; ++kind)
    *stream << names[kind] << " " << all.Counts[static_cast<std::size_t>(kind)] << " ";
}

long kernel_Handles() {
  constexpr auto all_handles = static_cast<SYSTEM_INFORMATION_CLASS>(16);
  // The table begins with the number of handles; the first word of each handle is its process.
  constexpr std::size_t words = sizeof(void*) == 4 ? 4 : 3;
  std::vector<ULONG_PTR> table(1 << 18);
  NtQuerySystemInformation(all_handles, table.data(), static_cast<ULONG>(table.size() * sizeof table[0]),
                           nullptr);
  long count = 0;
  for (std::size_t index = 0; index < static_cast<ULONG>(table[0]); ++index)
    count += static_cast<ULONG>(table[1 + words * index]) == GetCurrentProcessId();
  return count;
}

Holdings count_Holdings() {
  [[maybe_unused]] static const bool is_watching = watch_AllModules();
  Holdings all;
  auto& counts = all.Counts;
  counts[Holdings::KernelHandles] = kernel_Handles();
  counts[Holdings::GdiObjects] = existing<HGDIOBJ, &GetObjectType, 1>();
  counts[Holdings::Menus] = existing<HMENU, &IsMenu, 2>();
  with_Blocks([&](const Blocks& blocks) {
    counts[Holdings::HeapBlocks] = static_cast<long>(blocks.size());
    for (const auto& [place, block] : blocks)
      counts[Holdings::HeapBytes] += static_cast<long>(block.Bytes);
  });
  counts[Holdings::Components] = living_Objects();
  return all;
}
