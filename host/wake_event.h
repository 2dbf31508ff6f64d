// Ends the wait of another thread.
#pragma once

#include "host/file_descriptor.h"

namespace host {

class wake_event {
 public:
  wake_event();

  /// False when the host had no descriptor for it.
  [[nodiscard]] bool is_valid() const { return event_.valid(); }
  /// Readable from wake() to take().
  [[nodiscard]] int descriptor() const { return event_.get(); }

  void wake() const;
  /// Nothing when there was no wake.
  void take() const;

 private:
  file_descriptor event_;
};

}  // namespace host
