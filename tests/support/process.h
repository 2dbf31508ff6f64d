// Runs programs the way an engineer's shell does, and collects what they say and how they end.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace support {

using environment = std::map<std::string, std::string>;

struct process_result {
  std::string output;
  std::string errors;
  int exit_status = -1;  ///< -1 when ended by a signal
  int signal = 0;
  bool timed_out = false;  ///< ended by the time limit
  long peak_memory = 0;    ///< resident, in KiB; at least what the starting process had
};

/// A program that runs in the background. Its environment is this process's without the project's
/// own variables (TVK_...), plus `additions`. Killed and collected by the destructor.
class background_process {
 public:
  background_process(const std::string& program, const std::vector<std::string>& arguments,
                     const environment& additions = {});
  background_process(const background_process&) = delete;
  background_process& operator=(const background_process&) = delete;
  ~background_process();

  /// Waits until standard error, or standard output, holds `text`; false when the program ends or
  /// half a minute passes first.
  [[nodiscard]] bool wait_for_error_text(const std::string& text) {
    return wait_for_text(result_.errors, text);
  }
  [[nodiscard]] bool wait_for_output_text(const std::string& text) {
    return wait_for_text(result_.output, text);
  }

  [[nodiscard]] std::string errors_so_far() {
    const std::lock_guard lock(mutex_);
    return result_.errors;
  }
  void send_signal(int number, int value = 0) const;
  /// Waits until it has used less than 1 % of a processor for the length of `window`; false when it
  /// has not within ten seconds and a window.
  [[nodiscard]] bool comes_to_rest(std::chrono::milliseconds window) const;

  /// Waits for the end, kills the program when `limit` passes. Call once.
  process_result wait(std::chrono::milliseconds limit = std::chrono::seconds(30));

 private:
  void collect(int stream, std::string& text);
  bool wait_for_text(const std::string& where, const std::string& text);

  pid_t pid_ = -1;
  std::mutex mutex_;
  std::condition_variable changed_;
  process_result result_;
  int open_streams_ = 2;
  std::thread collectors_[2];
};

inline process_result run(const std::string& program, const std::vector<std::string>& arguments,
                          const environment& additions = {},
                          std::chrono::milliseconds limit = std::chrono::seconds(30)) {
  return background_process(program, arguments, additions).wait(limit);
}

}  // namespace support
