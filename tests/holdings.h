// Counts what this process holds: objects of the system and of the tests' components. A test compares two
// counts to find what grows. Where the tests run, the platform's own counters answer 0, so each object is
// looked for.
#pragma once

#include <windows.h>

#include <array>
#include <iosfwd>

struct Holdings {
  enum Kind { KernelHandles, GdiObjects, Menus, HeapBlocks, HeapBytes, Components, Kinds };
  std::array<long, Kinds> Counts{};  // holds no memory of its own, which would be counted

  bool operator==(const Holdings&) const = default;
  Holdings operator-(const Holdings& earlier) const;
};

// For the message of a comparison that fails.
void PrintTo(const Holdings& all, std::ostream* stream);

long kernel_Handles();

// Where the heaps count a pool of blocks as one, a lost block is not seen and a pool that is made looks like
// one, so their blocks and bytes are left at 0 unless the pools are asked for.
enum class Heaps { WithoutPools, WithPools };
Holdings count_Holdings(Heaps which = Heaps::WithoutPools);
