// What a client's thread waits for: datagrams on its port, queued work, and the stop flag.
#pragma once

#include "host/file_descriptor.h"
#include "host/wake_event.h"
#include "platform/linux/qmi/port_loop.h"

namespace qmi {

class wake_set {
 public:
  wake_set(int port, const stop_flag& stop);

  /// False when the host had no descriptors to spare.
  [[nodiscard]] bool is_valid() const { return epoll_.valid() && event_.is_valid(); }

  /// Returns when there is something to do.
  void wait();
  /// Ends the current wait, or the next one.
  void wake() const { event_.wake(); }

  /// While the port is ignored its datagrams do not end a wait, because another thread receives
  /// them.
  void ignore_port() const;
  void watch_port() const;

 private:
  void add(int descriptor) const;

  int port_;
  host::file_descriptor epoll_;
  host::wake_event event_;
};

}  // namespace qmi
