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

// Of the heaps' blocks those that were allocated since the first count.
Holdings count_Holdings();
