#include "simulator/program/signals.h"

#include <utility>

#include <asio/buffer.hpp>

namespace sim {
namespace {

bool is_ignored(int number) {
  struct sigaction now {};
  return ::sigaction(number, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

int open_descriptor(std::initializer_list<int> numbers, sigset_t& before) {
  sigset_t watched;
  ::sigemptyset(&watched);
  for (const int number : numbers) {
    // As nohup leaves it: the program is to outlive its terminal.
    if (number == SIGHUP && is_ignored(SIGHUP)) continue;
    ::sigaddset(&watched, number);
  }
  sigset_t blocked = watched;
  ::sigaddset(&blocked, SIGPIPE);
  ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
  return ::signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK);
}

}  // namespace

signals::signals(asio::io_context& io, std::initializer_list<int> numbers, handler handle)
    : descriptor_(io, open_descriptor(numbers, mask_before_)), handle_(std::move(handle)) {
  receive();
}

void signals::receive() {
  descriptor_.async_read_some(asio::buffer(&info_, sizeof(info_)),
                              [this](const std::error_code& error, std::size_t /*size*/) {
                                if (error) return;
                                handle_(info_);
                                receive();
                              });
}

}  // namespace sim
