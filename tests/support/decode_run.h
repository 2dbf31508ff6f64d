// Captures that the tests of the decoder share, what is in them, and runs of tvk-decode on files.
#pragma once

#include <fstream>
#include <iterator>
#include <utility>

#include "support/diag_frame.h"
#include "support/process.h"
#include "support/temp_dir.h"
#include "support/test.h"

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

inline process_result decode(const std::vector<std::string>& arguments) {
  auto got = run(TVK_DECODE_PROGRAM, arguments, {}, std::chrono::seconds(120));
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

inline const bytes radio_two = hex("98010000 02000000");
/// A record known by its radio.
inline bytes voice_frame(std::uint32_t radio) {
  return diag_frame(hex("98010000") + u32(radio) + voice);
}
inline bytes voice_frames(std::uint32_t first, std::uint32_t last) {
  bytes all;
  for (auto radio = first; radio <= last; ++radio) all = std::move(all) + voice_frame(radio);
  return all;
}
inline std::string voice_lines(std::size_t first, std::size_t last) {
  std::string all;
  for (auto radio = first; radio <= last; ++radio) all += voice_line(radio);
  return all;
}

inline const bytes cell_info =
    hex("1000 2900 2900 C2B0 BE0C0A9E34DDD400 "
        "032101D0030000204A000019190C506300FBA402000000360103040101");
inline const std::string cell_info_line =
    R"({"time":"2016-03-23T21:55:49.772582Z","radio":1,"source":"0xB0C2",)"
    R"("data_id":129,"name":"lte_rrc_serving_cell_info","packet_version":"3","mcc":310,)"
    R"("num_mnc_digits":3,"mnc":260,"tac":42235,"cell_identity":6508556,"pci":289,"band":2,)"
    R"("dl_earfcn":976,"num_dl_rb":25,"dl_bandwidth_MHz":5.0,"ul_earfcn":18976,"num_ul_rb":25,)"
    R"("ul_bandwidth_MHz":5.0,"allow_access":1})"
    "\n";
// Every form of payload and of time: 1606 with one byte, 1428 with a counted one, 631 with two,
// 1429 with none, and 1430 whose two bytes of time have wrapped.
inline const bytes events =
    hex("60 2700  4626 BE0C0A9E34DDD400 04  94E5 0C0A 04 01020304  77C2 0D0A 0102  9585 0C0A"
        "96E5 0B00 04 0A000000");
inline const std::string events_lines =
    R"({"time":"2016-03-23T21:55:49.772582Z","radio":1,"source":"event 1606","data_id":5,"name":"lte_rrc_state","lte_rrc_state_code":4,"lte_rrc_state":"connected"}
{"time":"2016-03-23T21:55:49.772582Z","radio":1,"source":"event 1606","data_id":127,"name":"lte_rrc_state_change","rrc_active_time":null,"num_rrc_setups":1,"rrc_setup":1}
{"time":"2016-03-23T21:55:49.772578Z","radio":1,"source":"event 1428","data_id":119,"name":"ims_sip_session_start","sip_call_id":67305985}
{"time":"2016-03-23T21:55:49.772584Z","radio":1,"source":"event 631","data_id":118,"name":"cm_call_end","num_calls":1,"cm_call_id":2}
{"time":"2016-03-23T21:55:50.080071Z","radio":1,"source":"event 1430","data_id":121,"name":"ims_sip_session_established","sip_call_id":10}
)";

inline const bytes capture =
    diag_frame(cell_info) + diag_frame(hex("92 00*30")) + voice_frame(2) + diag_frame(events);
inline const std::string capture_lines = cell_info_line + voice_line(2) + events_lines;

// An uplink message at EARFCN 5780, and an NR message, which GSMTAP cannot carry.
inline const bytes lte_message =
    hex("1000 2000 2000 C0B0 BE0C0A9E34DDD400 0F 0904 01 9501 94160000 0000 09 00*4 0100 28");
inline const bytes nr_message =
    hex("1000 2700 2700 21B8 BE0C0B9E34DDD400 "
        "08000000 0F60 FF C602 DE930600 18002802 01 00*4 0300 040506");

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
  /// The output of a shell command that gets this on its standard input.
  bytes packed(const std::string& command, const bytes& content) const {
    const auto got =
        run("/bin/sh", {"-c", "exec < \"$0\"; " + command, made("not_packed", content)});
    EXPECT_EQ(got.exit_status, 0) << command << got.errors;
    return ascii(got.output);
  }
  [[nodiscard]] std::string file(const std::string& name) const { return dir_.file(name); }

  temp_dir dir_;
};

}  // namespace support
