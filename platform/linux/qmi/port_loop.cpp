#include "platform/linux/qmi/port_loop.h"

#include <poll.h>

#include <array>
#include <thread>

#include "host/wait.h"

namespace qmi {
void stop_flag::set() {
  is_set_ = true;
  event_.wake();
}

bool stop_flag::wait_for(std::chrono::milliseconds time) const {
  pollfd wait{descriptor(), POLLIN, 0};
  return ::poll(&wait, 1, static_cast<int>(time.count())) > 0;
}

loop_end receive_loop(transport& port, const stop_flag& stop, std::span<std::uint8_t> buffer,
                      const datagram_handler& handler, clock::time_point deadline) {
  std::array<pollfd, 2> waits{pollfd{port.descriptor(), POLLIN, 0},
                              pollfd{stop.descriptor(), POLLIN, 0}};
  const bool is_limited = deadline != clock::time_point::max();
  // Checked before every datagram, not only when none is waiting: a modem may never stop sending.
  while (!stop.is_set()) {
    if (is_limited && clock::now() >= deadline) return loop_end::deadline;
    const received got = port.receive(buffer);
    if (got.result == io_result::gone) return loop_end::gone;
    if (got.result == io_result::done) {
      if (got.size <= buffer.size() && !handler(got.from, buffer.first(got.size))) {
        return loop_end::finished;
      }
      continue;
    }
    // Interrupted or not, the next round looks at everything again.
    if (::poll(waits.data(), waits.size(), host::poll_timeout(deadline)) < 0) continue;
  }
  return loop_end::stopped;
}

io_result send_by(transport& port, address to, byte_view datagram, clock::time_point deadline) {
  for (;;) {
    const io_result result = port.send(to, datagram);
    if (result != io_result::would_block || clock::now() >= deadline) return result;
    // Not every kind of port reports room in its queue through poll.
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace qmi
