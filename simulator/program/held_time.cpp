#include "simulator/program/held_time.h"

#include <fmt/core.h>

#include <algorithm>

#include <asio/post.hpp>

#include "simulator/standard_error.h"

namespace sim {

held_time::held_time(asio::io_context& io)
    : wake_(io), signals_(io, {SIGUSR1}, [this](const signalfd_siginfo& signal) {
        pass(std::chrono::milliseconds(std::max(signal.ssi_int, 0)));
      }) {
  clock::hold();
}

void held_time::pass(std::chrono::milliseconds time) {
  clock::pass(time);
  passed_ += time;
  // The loop waits as long as the next timer said when it was started. One that is due before all
  // others makes it look at them again.
  wake_.expires_at(clock::time_point());
  wake_.async_wait([this, passed = passed_](const std::error_code& /*replaced*/) {
    // After all that was due.
    asio::post(wake_.get_executor(),
               [passed] { tell_user(fmt::format("{} ms have passed", passed.count())); });
  });
}

}  // namespace sim
