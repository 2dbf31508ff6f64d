// The processes that benchmarks talk to.
#pragma once

#include <sys/types.h>

#include <array>
#include <string>

/// A process that echoes packets of the size of a request to the extension service.
class echo_process {
 public:
  echo_process();
  ~echo_process();
  echo_process(const echo_process&) = delete;
  echo_process& operator=(const echo_process&) = delete;

  [[nodiscard]] bool ping();

 private:
  static constexpr std::size_t packet_size = 540;

  pid_t child_ = 0;
  int end_ = -1;
  std::array<char, packet_size> packet_{};
};

/// Runs `tvk-modem serve` in a folder of its own for as long as the object lives, and points
/// TVK_MODEM and TVK_DIAG to it.
class modem_process {
 public:
  modem_process();
  ~modem_process();
  modem_process(const modem_process&) = delete;
  modem_process& operator=(const modem_process&) = delete;

  /// Its resident memory in KiB.
  [[nodiscard]] double resident_kib() const;

 private:
  std::string folder_;
  pid_t child_ = 0;
};

/// Discards standard output from now on; benchmarks report on standard error.
void silence_standard_output();
