// The other ends that benchmarks talk to.
#pragma once

#include <sys/types.h>

#include <array>
#include <string>

/// The other end of a ping-pong of packets as large as a request to the extension service, in a
/// process of its own.
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

/// `tvk-modem serve` in a folder of its own, for as long as this lives; TVK_MODEM and TVK_DIAG name
/// it.
class modem_process {
 public:
  modem_process();
  ~modem_process();
  modem_process(const modem_process&) = delete;
  modem_process& operator=(const modem_process&) = delete;

  /// Memory that it holds, KiB.
  [[nodiscard]] double resident_kib() const;

 private:
  std::string folder_;
  pid_t child_ = 0;
};

/// What is printed from here on goes nowhere; benchmarks report to standard error.
void silence_standard_output();
