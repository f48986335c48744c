// What this process holds of the system and of the tests' components, so that a test can tell what grows. The
// platform's own counters answer 0 where the tests run, so everything is counted here by looking at it.
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
Holdings count_Holdings();
