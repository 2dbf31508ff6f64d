// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace sim {

class descriptor {
 public:
  descriptor() = default;
  explicit descriptor(int number) : number_(number) {}
  descriptor(descriptor&& other) noexcept : number_(other.release()) {}
  descriptor& operator=(descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~descriptor() {
    if (number_ >= 0) ::close(number_);
  }

  [[nodiscard]] int get() const { return number_; }
  [[nodiscard]] explicit operator bool() const { return number_ >= 0; }
  [[nodiscard]] int release() { return std::exchange(number_, -1); }

 private:
  int number_ = -1;
};

}  // namespace sim
