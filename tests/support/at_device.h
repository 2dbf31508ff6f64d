// The AT device's path, which every process of the machine shares: one test at a time has it.
#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>

namespace support {

class at_device {
 public:
  /// Waits until no other test has the path.
  at_device() : lock_(::open("/tmp/tvk-test-at.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
    ::flock(lock_, LOCK_EX);
    usable_ = ::access("/dev", W_OK) == 0 &&
              !std::filesystem::exists(std::filesystem::symlink_status("/dev/smd8"));
  }
  at_device(const at_device&) = delete;
  at_device& operator=(const at_device&) = delete;
  ~at_device() { ::close(lock_); }

  /// Nothing is there, and it can be made.
  [[nodiscard]] bool usable() const { return usable_; }

 private:
  int lock_;
  bool usable_ = false;
};

}  // namespace support
