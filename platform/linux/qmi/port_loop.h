// Receives on a port until stopped or until the modem is gone.
#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include "host/wake_event.h"
#include "platform/linux/qmi/transport.h"

namespace qmi {

/// A flag that a thread can wait for together with a socket.
class stop_flag {
 public:
  void set();
  [[nodiscard]] bool is_set() const { return is_set_; }
  /// True as soon as the flag is set, false when the time is up.
  [[nodiscard]] bool wait_for(std::chrono::milliseconds time) const;
  [[nodiscard]] int descriptor() const { return event_.descriptor(); }

 private:
  std::atomic<bool> is_set_ = false;
  host::wake_event event_;
};

enum class loop_end : std::uint8_t { stopped, gone, deadline, finished };

/// Takes a datagram; false ends the loop.
using datagram_handler = std::function<bool(address from, byte_view datagram)>;

/// Passes every datagram that fits the buffer to the handler and drops longer ones.
[[nodiscard]] loop_end receive_loop(transport& port, const stop_flag& stop,
                                    std::span<std::uint8_t> buffer, const datagram_handler& handler,
                                    clock::time_point deadline = clock::time_point::max());

/// Sends, waiting until the deadline for room in the queue.
[[nodiscard]] io_result send_by(transport& port, address to, byte_view datagram,
                                clock::time_point deadline);

}  // namespace qmi
