#include "host/wake_event.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

namespace host {

wake_event::wake_event() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void wake_event::wake() const {
  const std::uint64_t one = 1;
  // Fails only when the counter is full, and then the descriptor is readable.
  if (::write(event_.get(), &one, sizeof one) < 0) return;
}

void wake_event::take() const {
  std::uint64_t wakes = 0;
  if (::read(event_.get(), &wakes, sizeof wakes) < 0) return;
}

}  // namespace host
