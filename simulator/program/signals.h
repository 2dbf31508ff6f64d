// Signals as events of the loop, which, unlike a handler, learn who sent them.
#pragma once

#include <sys/signalfd.h>

#include <csignal>
#include <functional>
#include <initializer_list>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>

namespace sim {

class signals {
 public:
  using handler = std::function<void(const signalfd_siginfo&)>;

  /// Blocks the signals for as long as the program runs and passes them to `handle`. Blocks
  /// SIGPIPE as well, since the reader of the trace may go away. A SIGHUP that the caller ignores
  /// stays ignored.
  signals(asio::io_context& io, std::initializer_list<int> numbers, handler handle);

  /// What was blocked before, for programs started from here.
  [[nodiscard]] const sigset_t& mask_before() const { return mask_before_; }

 private:
  void receive();

  sigset_t mask_before_{};
  asio::posix::stream_descriptor descriptor_;
  handler handle_;
  signalfd_siginfo info_{};
};

}  // namespace sim
