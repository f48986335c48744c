#include "tests/holdings.h"

#include <winternl.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <vector>

#include "tests/components.h"

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

void count_Heap(HANDLE heap, long& blocks, long& bytes) {
  PROCESS_HEAP_ENTRY entry{};
  while (HeapWalk(heap, &entry)) {
    if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) == 0)
      continue;
    ++blocks;
    bytes += static_cast<long>(entry.cbData);
  }
}

// Wine 10 takes the blocks of a size that is often asked for from a pool, which counts as one block.
bool counts_EveryBlock() {
  constexpr long count = 64;
  const auto heap = HeapCreate(0, 0, 0);
  for (int number = 0; number < count; ++number)
    HeapAlloc(heap, 0, 1);
  long blocks = 0, bytes = 0;
  count_Heap(heap, blocks, bytes);
  HeapDestroy(heap);
  return blocks >= count;
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

Holdings count_Holdings(Heaps which) {
  const bool has_heaps = which == Heaps::WithPools || counts_EveryBlock();
  Holdings all;
  auto& counts = all.Counts;
  counts[Holdings::KernelHandles] = kernel_Handles();
  counts[Holdings::GdiObjects] = existing<HGDIOBJ, &GetObjectType, 1>();
  counts[Holdings::Menus] = existing<HMENU, &IsMenu, 2>();
  HANDLE heaps[64];
  for (DWORD index = has_heaps ? GetProcessHeaps(64, heaps) : 0; index-- > 0;)
    count_Heap(heaps[index], counts[Holdings::HeapBlocks], counts[Holdings::HeapBytes]);
  counts[Holdings::Components] = living_Objects();
  return all;
}
