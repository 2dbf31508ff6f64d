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
    setenv("TVK_ANDROID_LOG", dir.file("log").c_str(), 1);
    std::ofstream(dir.file("log"), std::ios::app) << "of the process before\n";
    begin_ = text().size();
  }

  [[nodiscard]] std::string text() const {
    std::ifstream in(dir.file("log"));
    return std::string(std::istreambuf_iterator<char>(in), {}).substr(begin_);
  }
  [[nodiscard]] int count(const std::string& line) const {
    const auto all = text();
    int times = 0;
    for (auto at = all.find(line); at != std::string::npos; at = all.find(line, at + 1)) ++times;
    return times;
  }

 private:
  static inline const temp_dir dir;
  std::size_t begin_ = 0;
};

}  // namespace support
