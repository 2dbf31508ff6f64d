// JSON lines of tvk-decode without file and packet, which depend on where a test has put a capture.
#pragma once

#include <string>

namespace support {

inline std::string records_in(const std::string& lines) {
  std::string records;
  std::size_t done = 0;
  for (auto at = lines.find(",\"file\":\""); at != std::string::npos;
       at = lines.find(",\"file\":\"", done)) {
    records.append(lines, done, at - done);
    done = lines.find_first_not_of("0123456789", lines.find("\"packet\":", at) + 9);
  }
  return records.append(lines, done);
}

}  // namespace support
