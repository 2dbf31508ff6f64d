#include "platform/linux/library_thread.h"

#include <string>
#include <system_error>
#include <utility>

#include "platform/linux/report.h"

namespace platform {

bool library_thread::start(std::function<void()> body) {
  state_ = std::make_shared<state>();
  try {
    std::thread([own = state_, body = std::move(body)]() mutable {
      own->id = std::this_thread::get_id();
      std::exchange(body, nullptr)();
      own->ended.count_down();
    }).detach();
  } catch (const std::system_error& error) {
    report_once("cannot start a thread: " + error.code().message());
    state_.reset();
    return false;
  }
  return true;
}

void library_thread::wait() const {
  if (state_ && !is_current()) state_->ended.wait();
}

bool library_thread::is_current() const {
  return state_ && state_->id == std::this_thread::get_id();
}

}  // namespace platform
