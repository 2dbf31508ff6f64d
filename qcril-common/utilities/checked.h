// Arithmetic that aborts instead of overflowing, in every build type.
#pragma once

#include <cstdio>
#include <cstdlib>

/// Flushes standard output first, so that nothing already printed is lost.
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

template <typename T>
[[nodiscard]] T checked_multiply(T a, T b) {
  T product;
  if (__builtin_mul_overflow(a, b, &product)) abort_process();
  return product;
}

template <typename T>
[[nodiscard]] T checked_subtract(T a, T b) {
  T difference;
  if (__builtin_sub_overflow(a, b, &difference)) abort_process();
  return difference;
}
