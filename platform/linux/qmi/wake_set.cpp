#include "platform/linux/qmi/wake_set.h"

#include <sys/epoll.h>

namespace qmi {

wake_set::wake_set(int port, const stop_flag& stop)
    : port_(port), epoll_(::epoll_create1(EPOLL_CLOEXEC)) {
  add(port_);
  add(stop.descriptor());
  add(event_.descriptor());
}

void wake_set::add(int descriptor) const {
  epoll_event interest{};
  interest.events = EPOLLIN;
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor, &interest);
}

void wake_set::wait() {
  epoll_event happened{};
  ::epoll_wait(epoll_.get(), &happened, 1, -1);
  event_.take();
}

void wake_set::ignore_port() const {
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, port_, nullptr);
}

void wake_set::watch_port() const {
  add(port_);
}

}  // namespace qmi
