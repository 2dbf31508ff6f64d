#include "platform/linux/qmi/wake_set.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <cstdint>

namespace qmi {

wake_set::wake_set(int port, const stop_flag& stop)
    : port_(port),
      epoll_(::epoll_create1(EPOLL_CLOEXEC)),
      event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  add(port_);
  add(stop.descriptor());
  add(event_.get());
}

void wake_set::add(int descriptor) const {
  epoll_event interest{};
  interest.events = EPOLLIN;
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor, &interest);
}

void wake_set::wait() {
  epoll_event happened{};
  ::epoll_wait(epoll_.get(), &happened, 1, -1);
  std::uint64_t wakes = 0;
  // There is nothing to read when something else ended the wait.
  if (::read(event_.get(), &wakes, sizeof wakes) < 0) return;
}

void wake_set::wake() const {
  const std::uint64_t one = 1;
  // Fails only when the counter is full, and then the thread is awake.
  if (::write(event_.get(), &one, sizeof one) < 0) return;
}

void wake_set::ignore_port() const {
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, port_, nullptr);
}

void wake_set::watch_port() const {
  add(port_);
}

}  // namespace qmi
