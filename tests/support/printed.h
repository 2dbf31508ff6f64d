// What a call prints, and log lines without the source line numbers that nobody promises.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <string>

namespace support {

/// `RIL[name:123]: ` as `RIL[name:#]: `, on standard output and, with its source, in the system
/// log.
inline std::string masked(const std::string& text) {
  static const std::regex source_line(R"((RIL(?:\[shell\])?\[\w+:)\d+(\](?:: | )))");
  return std::regex_replace(text, source_line, "$1#$2");
}

template <typename Call>
std::string printed_by(Call call) {
  testing::internal::CaptureStdout();
  call();
  std::fflush(stdout);
  return masked(testing::internal::GetCapturedStdout());
}

}  // namespace support
