// The Android log of a test.
#pragma once

#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <string>

#include "support/temp_dir.h"

namespace support {

/// Construct it before the first line is logged: the log is opened once per process.
class android_log {
 public:
  android_log() {
    setenv("TVK_ANDROID_LOG", file().c_str(), 1);
    begin_ = whole().size();
  }

  [[nodiscard]] std::string text() const { return whole().substr(begin_); }
  [[nodiscard]] int count(const std::string& line) const {
    const auto all = text();
    int times = 0;
    for (auto at = all.find(line); at != std::string::npos; at = all.find(line, at + 1)) ++times;
    return times;
  }

 private:
  static std::string file() {
    static const temp_dir dir;
    return dir.file("log");
  }
  static std::string whole() {
    std::ifstream in(file());
    return {std::istreambuf_iterator<char>(in), {}};
  }

  std::size_t begin_;
};

}  // namespace support
