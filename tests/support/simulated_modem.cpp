#include "support/simulated_modem.h"

#include <stdexcept>

namespace support {

simulated_modem::simulated_modem(std::vector<std::string> faults,
                                 std::vector<std::string> more_options, begin when)
    : faults_(std::move(faults)), more_options_(std::move(more_options)) {
  if (when == begin::at_once) start();
}

void simulated_modem::start() {
  std::vector<std::string> arguments = {"serve", "--socket", socket(), "--state", state()};
  arguments.insert(arguments.end(), more_options_.begin(), more_options_.end());
  for (const auto& fault : faults_) {
    arguments.emplace_back("--fault");
    arguments.push_back(fault);
  }
  passed_ = 0;
  process_ = std::make_unique<background_process>(TVK_MODEM_PROGRAM, arguments);
  if (process_->wait_for_error_text("listening on")) return;
  throw std::runtime_error("tvk-modem does not listen: " + stop(SIGKILL));
}

std::string simulated_modem::stop(int signal) {
  process_->send_signal(signal);
  const auto ended = process_->wait();
  process_.reset();
  return ended.errors;
}

void simulated_modem::let_pass(int milliseconds) {
  passed_ += milliseconds;
  process_->send_signal(SIGUSR1, milliseconds);
  if (!process_->wait_for_error_text(" " + std::to_string(passed_) + " ms have passed\n")) {
    throw std::runtime_error("the modem's time does not pass");
  }
}

}  // namespace support
