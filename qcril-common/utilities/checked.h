// Arithmetic and indexing that end the process instead of going wrong, in every build type.
#pragma once

#include <cstdio>
#include <cstdlib>

/// What was printed so far is not lost.
[[noreturn]] inline void abort_process() {
  std::fflush(stdout);
  std::abort();
}

template <typename T>
[[nodiscard]] T checked_add(T a, T b) {
  T sum;
  if (__builtin_add_overflow(a, b, &sum)) abort_process();
  return sum;
}

/// `index` when it is below `size`.
[[nodiscard]] inline std::size_t checked_index(std::size_t index, std::size_t size) {
  if (index >= size) abort_process();
  return index;
}
