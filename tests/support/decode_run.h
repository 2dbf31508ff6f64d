// Runs tvk-decode on files that a test makes.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/hand_diag.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace support {

/// JSON lines without file and packet, which depend on where a test has put a capture.
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

inline process_result decode(const std::vector<std::string>& arguments,
                             const environment& additions = {}) {
  auto got = run(TVK_DECODE_PROGRAM, arguments, additions, std::chrono::seconds(120));
  got.output = records_in(got.output);
  return got;
}

// 2016-03-23T21:55:49.773832Z.
inline const bytes voice =
    hex("1000 2500 2500 6815 BE0C0B9E34DDD400 0D013412D4C3B2A100710200010021002000000F0008010000");
inline std::string voice_line(std::size_t radio = 1) {
  return R"({"time":"2016-03-23T21:55:49.773832Z","radio":)" + std::to_string(radio) +
         R"(,"source":"0x1568","data_id":136,"name":"ims_rtp_sn_and_payload",)"
         R"("packet_version":"13","codec_code":1,"codec":"AMR_WB","frame_type_code":8})"
         "\n";
}

inline std::string read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class with_captures : public testing::Test {
 protected:
  std::string made(const std::string& name, const bytes& content) const {
    std::ofstream(file(name), std::ios::binary)
        .write(reinterpret_cast<const char*>(content.data()),
               static_cast<std::streamsize>(content.size()));
    return file(name);
  }
  [[nodiscard]] std::string file(const std::string& name) const { return dir_.file(name); }

  temp_dir dir_;
};

}  // namespace support
