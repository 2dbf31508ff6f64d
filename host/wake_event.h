// Wakes a thread that waits with poll or epoll.
#pragma once

#include "host/file_descriptor.h"

namespace host {

class wake_event {
 public:
  wake_event();

  /// False when the host had no descriptor to spare.
  [[nodiscard]] bool is_valid() const { return event_.valid(); }
  /// Readable from wake() to take().
  [[nodiscard]] int descriptor() const { return event_.get(); }

  void wake() const;
  /// Clears the event; no effect if it is not set.
  void take() const;

 private:
  file_descriptor event_;
};

}  // namespace host
