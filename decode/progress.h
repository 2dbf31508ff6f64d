// A progress line on the terminal for long runs.
#pragma once

#include <chrono>
#include <cstdint>

namespace decode {

class progress {
 public:
  /// Silent unless standard error is a terminal and the input is large.
  explicit progress(std::uint64_t all_bytes);
  progress(const progress&) = delete;
  progress& operator=(const progress&) = delete;
  ~progress();

  void show(std::uint64_t done_bytes);

 private:
  using clock = std::chrono::steady_clock;

  const std::uint64_t all_bytes_;
  const bool shown_;
  const clock::time_point begin_ = clock::now();
  clock::time_point last_ = begin_;
  bool written_ = false;
};

}  // namespace decode
