// Measures time in microseconds.
#pragma once

#include <windows.h>

#include <utility>

// Each lap takes the microseconds since the last one, the first since the making.
class Stopwatch {
 public:
  double lap() {
    const double start = std::exchange(m_last, now());
    return m_last - start;
  }

 private:
  static double now() {
    constexpr double microseconds = 1e6;
    LARGE_INTEGER count, frequency;
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(count.QuadPart) * microseconds / static_cast<double>(frequency.QuadPart);
  }

  double m_last = now();
};
