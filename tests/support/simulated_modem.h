// `tvk-modem serve` in the background, on a socket and a state directory of the test's own.
#pragma once

#include <signal.h>

#include <memory>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/temp_dir.h"

namespace support {

class simulated_modem {
 public:
  /// Starts at once unless `later`; throws when the modem does not get to listen.
  enum class begin { at_once, later };
  explicit simulated_modem(std::vector<std::string> faults = {},
                           std::vector<std::string> more_options = {}, begin when = begin::at_once);
  ~simulated_modem() {
    if (process_) stop();
  }

  void start();
  std::string stop(int signal = SIGTERM);
  /// As when the modem's machine loses power: the socket file stays.
  void kill() { stop(SIGKILL); }
  /// Of the time of a modem with --hold-time; returns when all that was due by then has happened.
  void let_pass(int milliseconds);

  [[nodiscard]] std::string endpoint() const { return "unix:" + socket(); }
  [[nodiscard]] std::string socket() const { return dir_.file("modem.sock"); }
  [[nodiscard]] std::string diag_socket() const { return dir_.file("diag.sock"); }
  [[nodiscard]] std::string state() const { return dir_.file("state"); }
  [[nodiscard]] background_process& process() { return *process_; }

 private:
  temp_dir dir_;
  std::vector<std::string> faults_;
  std::vector<std::string> more_options_;
  std::unique_ptr<background_process> process_;
  int passed_ = 0;
};

/// tarvik_console against the modem at `endpoint`: in the background, and to its end.
inline background_process start_console(const std::string& endpoint,
                                        const std::vector<std::string>& arguments) {
  return {TVK_PROGRAM, arguments, {{"TVK_MODEM", endpoint}}};
}
inline process_result run_console(const std::string& endpoint,
                                  const std::vector<std::string>& arguments) {
  return start_console(endpoint, arguments).wait();
}

}  // namespace support
