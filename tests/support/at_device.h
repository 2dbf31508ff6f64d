// The AT device's path, which every process of the machine shares: one test at a time has it.
#pragma once

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace support {

class at_device {
 public:
  /// Waits until no other test has the path.
  explicit at_device(const std::string& path = "/dev/smd8")
      : lock_(::open("/tmp/tvk-test-at.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
    ::flock(lock_, LOCK_EX);
    const auto directory = std::filesystem::path(path).parent_path();
    usable_ = ::access(directory.c_str(), W_OK) == 0 &&
              !std::filesystem::exists(std::filesystem::symlink_status(path));
  }
  at_device(const at_device&) = delete;
  at_device& operator=(const at_device&) = delete;
  ~at_device() { ::close(lock_); }

  [[nodiscard]] bool usable() const { return usable_; }

 private:
  int lock_;
  bool usable_ = false;
};

}  // namespace support
