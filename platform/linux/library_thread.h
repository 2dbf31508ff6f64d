// A thread of the library. It is detached: a handle that a program never releases, as it may,
// leaves nothing behind when its thread ends.
#pragma once

#include <latch>
#include <memory>
#include <thread>
#include <utility>

namespace platform {

class library_thread {
 public:
  template <typename Body>
  void start(Body body) {
    ended_ = std::make_shared<std::latch>(1);
    std::thread([body = std::move(body), ended = ended_]() mutable {
      body();
      ended->count_down();
    }).detach();
  }

  /// Returns when the body has ended; at once when there was none.
  void wait() const {
    if (ended_) ended_->wait();
  }

 private:
  std::shared_ptr<std::latch> ended_;
};

}  // namespace platform
