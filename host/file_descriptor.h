// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <string>
#include <utility>

namespace host {

class file_descriptor {
 public:
  file_descriptor() = default;
  explicit file_descriptor(int fd) : fd_(fd) {}
  file_descriptor(file_descriptor&& other) noexcept : fd_(other.release()) {}
  file_descriptor& operator=(file_descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~file_descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }

  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] bool valid() const { return fd_ >= 0; }
  [[nodiscard]] int release() { return std::exchange(fd_, -1); }

 private:
  int fd_ = -1;
};

/// A file, or the reason why it could not be opened.
struct opened_file {
  file_descriptor file;
  std::string error;
};

}  // namespace host
