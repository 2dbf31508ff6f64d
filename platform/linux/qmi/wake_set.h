// What the thread of a client waits for: its port, left-over work, the end.
#pragma once

#include "host/file_descriptor.h"
#include "host/wake_event.h"
#include "platform/linux/qmi/port_loop.h"

namespace qmi {

class wake_set {
 public:
  wake_set(int port, const stop_flag& stop);

  /// False when the host had no descriptors for it.
  [[nodiscard]] bool is_valid() const { return epoll_.valid() && event_.is_valid(); }

  /// Returns when there is something to do.
  void wait();
  /// Ends a wait, or the next one.
  void wake() const { event_.wake(); }

  /// While the port is left out, its datagrams end no wait: another thread receives them.
  void leave_out_port() const;
  void take_in_port() const;

 private:
  void add(int descriptor) const;

  int port_;
  host::file_descriptor epoll_;
  host::wake_event event_;
};

}  // namespace qmi
