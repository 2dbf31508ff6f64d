// Signalling for Wireshark as its users ask for it, in files and pipes.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/bytes.h"
#include "support/decode_run.h"

namespace {

using namespace support;

const bytes version_5 = hex("1000 1100 1100 C0B0 BE0C0A9E34DDD400 05 0904 01 95");

using tvk_decode_signalling = with_captures;

TEST_F(tvk_decode_signalling, file_has_what_filters_leave) {
  const auto path =
      made("a.qmdl", diag_frame(lte_message) + diag_frame(nr_message) + diag_frame(version_5));
  const auto to = file("a.pcapng");
  const auto pcap = [&](std::vector<std::string> more) {
    more.insert(more.end(), {"-f", "pcap", "-o", to, path});
    return run(TVK_DECODE_PROGRAM, more);
  };
  const auto all = pcap({"--summary"});
  for (const char* line : {"\n0xB0C0 lte_rrc version 5: 1 version not supported\n0xB0C0 lte_rrc "
                           "version 15: 1 decoded\n",
                           "\nsignalling lte-rrc.ul.dcch 1\nsignalling nr-rrc.bcch.bch 1\n"}) {
    EXPECT_NE(all.errors.find(line), std::string::npos) << line << all.errors;
  }
  EXPECT_EQ(std::filesystem::file_size(to), 52U + 48 + 140 + 68 + 152);
  EXPECT_EQ(pcap({"--code", "0xB821"}).exit_status, 0);
  EXPECT_EQ(std::filesystem::file_size(to), 52U + 68 + 152);
  // Nothing for this radio: still a file that Wireshark opens.
  EXPECT_EQ(pcap({"--radio", "2"}).exit_status, 0);
  EXPECT_EQ(std::filesystem::file_size(to), 52U);
  const auto piped = run(TVK_DECODE_PROGRAM, {"-f", "pcap", "-o", "-", path});
  EXPECT_EQ(piped.output.size(), 52U + 48 + 140 + 68 + 152);
  EXPECT_EQ(pcap({"--gsmtap"}).exit_status, 2);
  const auto no_port = run(TVK_DECODE_PROGRAM, {"--live", "unix:/none", "--gsmtap"});
  EXPECT_TRUE(no_port.errors.starts_with("tvk-decode: DIAG port unix:/none: ")) << no_port.errors;
  EXPECT_EQ(pcap({"--code", "0xB193"}).exit_status, 2);
  EXPECT_EQ(run(TVK_DECODE_PROGRAM, {"--comments", "-f", "jsonl", path}).exit_status, 2);
}

}  // namespace
