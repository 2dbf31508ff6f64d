// WCDMA, GSM and IMS logs, and events.
#include "modem_stats/parsers.h"
#include "support/decoder_rows.h"

namespace {

using namespace modem_stats;
using namespace support;

const std::string volte_from_device =
    "083535353130303000 00 0a633140782e7465737400 01000000 0d7369703a6140782e7465737400 "
    "0d7369703a6240782e7465737400";
const std::string volte_of_version_1 =
    "0100010a633240782e7465737400010000000d7369703a6240782e74657374000d7369703a6140782e7465737400"
    "000000000000";
const std::string outcome_2024_ms = "e807000001";  // and over LTE

TEST(wcdma_gsm_ims, every_version) {
  const std::string urls = ", originating_url_len = 13, terminating_url_len = 13\n";
  const decoder_row rows[] = {
      {0x4179, "05000194FE00020002000200FE00FE00A729 FF*6 0000010401230000CB69D018C000 00*18",
       "version = 5, rx_agc_old_0 = -364, rx_agc_old_1 = 512, rx_agc_0 = -91.20, "
       "rx_agc_1 = -3.60\n",
       "110:056666b6c2666666c0"},
      {0x4179, "08010184fe000200a729000001000023",
       "version = 8, rx_agc_old_0 = -380, rx_agc_old_1 = 512, rx_agc_0 = -92.80, "
       "rx_agc_1 = -3.60\n",
       "110:089a99b9c2666666c0"},
      {0x5096, "0100502008fce3fb",
       "version = 1, rx_prx_old = -1016, rx_drx_old = -1053, rx_prx = -63.50, rx_drx = -65.81\n",
       "111:0100007ec2b89e83c2"},
      {0x1568, "0d013412d4c3b2a100710200010021002000000f0008010000",
       "version = 13, codec_type = 1, frame_type = 8\n", "136:0d0108"},
      {0x156E,
       "01010023120413040600000014020000",  // the strings are not missed
       "version = 1, direction = 1, sdp_presence = 0, sip_call_id_len = 35, sip_msg_len = 1042, "
       "sip_msg_logged_bytes = 1043, msg_id = 6\n"
       "response_code = 0, cm_call_id = 532\n",
       "116:01010023120413040600000014020000"},
      {0x1830, "04" + volte_from_device + "0000" + outcome_2024_ms,
       "version = 4, direction = 0, result = 0, call_setup_delay = 2024, rat = 1" + urls,
       "125:04000000e8070000010d0d"},
      {0x1830, "02" + volte_from_device + "0300" + outcome_2024_ms,
       "version = 2, direction = 0, result = 3, call_setup_delay = 2024, rat = 1" + urls,
       "125:02000300e8070000010d0d"},
      {0x1830, volte_of_version_1,
       "version = 1, direction = 1, result = 0, call_setup_delay = 0, rat = 0" + urls,
       "125:0101000000000000000d0d"},
      {0x1831, "06" + volte_from_device + "0100" + outcome_2024_ms + "0000",
       "version = 6, direction = 0, end_cause = 1, call_setup_delay = 2024, rat = 1" + urls,
       "126:06000100e8070000010d0d"},
      {0x1831, volte_of_version_1,
       "version = 1, direction = 1, end_cause = 0, call_setup_delay = 0, rat = 0" + urls,
       "126:0101000000000000000d0d"},
      {0x1568, "0d 00*20", missing("frame_type", 0, "1568")},
      {0x1830, "01 00 00 09", missing("originating_url_len", -13, "1830")},
      {0x1830, "04" + volte_from_device + "0000 00*4", missing("rat", 0, "1830")},
      {0x1831, "04" + volte_from_device,
       "VERSION_NOT_SUPPORT, version(4), not_support_num(1), "
       "name(modem_stats_parse_1831_diag_log_ims_volte_session_end), id(0x1831)\n"},
  };
  expect_decoded(rows);
}

TEST(events, payloads_and_their_records) {
  const std::string parse_2568 =
      "modem_stats_parse_2568_diag_event_lte_rrc_new_cell_ind_ext_earfcn";
  const decoder_row rows[] = {
      {629, "010203", "call_id = 1, call_type = 2, srv_type = 3\n", "117:010203"},
      {629, "0102", missing("srv_type", 0, "275")},
      {631, "0201", "num_calls = 2, call_id = 1\n", "118:0201"},
      {1428, "01020304", "sip_call_id = 67305985\n", "119:01020304"},
      {1429, "01020304", "sip_call_id = 67305985\n", "120:01020304"},
      {1430, "01020304", "sip_call_id = 67305985\n", "121:01020304"},
      {1431, "01020304", "sip_call_id = 67305985\n", "122:01020304"},
      {1432, "01020304", "sip_call_id = 67305985\n", "123:01020304"},
      {1433, "01020304", "sip_call_id = 67305985\n", "124:01020304"},
      {1433, "010203", missing("sip_call_id", 3, "599")},
      {1632, "0a", "lte_emm_timer_expiry, sub_id = 0, timer_id = 10\n", "95:0a04"},
      {3215, "0b", "nr5g_emm_timer_expiry, sub_id = 0, timer_id = 11\n", "102:0b04"},
      {1995, "010002000300",
       "sub_id = 0, rlf_count_rrc_connected = 1, rlf_count_lte_active = 2, rlf_cause = 3\n",
       "131:010002000300"},
      {1995, "0100020003", missing("rlf_cause", 1, "7cb")},
      {2568, "02 72060000 bc02",
       "cause = 2, freq = 1650, pci = 700\nho_time = 0, ho_type = 1, pci = 700\n",
       "109:00000000000000000172060000bc02"},
      {2568, "03 72060000 bc02",
       "cause = 3, freq = 1650, pci = 700\nDATA_IS_NOT_VALID(3), name(" + parse_2568 +
           "), id(0xa08)\n"},
      {2622, "ff 0102 ffff 03 0405 0607",
       "version = 0, ant_number = 3, ant_switch_path = 1284, sig_path = 1798, old_config = 1, "
       "new_config = 2\n",
       "100:0003040506070102"},
      {3184, "8ea607005402 64", "ssb_freq = 501390, pci = 596, bw = 100\n", "92:8ea60700540264"},
      {3243, "ff*32 0201", "sub_id = 0, scg_failure_cause = 258\n", "138:0201"},
      {3243, "ff*32 02", missing("scg_failure_cause", 1, "cab")},
  };
  expect_decoded(rows);
}

TEST(events, lte_rrc_state_is_remembered) {
  const struct {
    int last, current;
    std::string line;
    std::string records;
  } rows[] = {
      {0, 1, "New other state and Old other state, do nothing, sub_id 0\n", "5:01"},
      {1, 4, "", "5:04 127:000000000100000001"},
      {4, 4, "New Connected and Old Connected, time not inited, do nothing, sub_id 0\n", "5:04"},
      {4, 7, "New Closing and Old Connected, time not inited, do nothing, sub_id 0\n", "5:07"},
      {7, 7, "New Closing and Old other state, do nothing, sub_id 0\n", "5:07"},
      {7, 4, "", "5:04 127:000000000100000001"},
  };
  const std::string name = "1606_diag_event_lte_rrc_state_change, ";
  stream_state state;
  for (const auto& row : rows) {
    const auto now = std::to_string(row.current);
    const auto got = decoded::event(1606, "0" + now, state);
    state = got.state;
    EXPECT_EQ(got.lines,
              "sub_id = 0, rrc_state_current_in = " + now + "\n" + name +
                  "time_last = 0, time_current = 0, rrc_state_last = " + std::to_string(row.last) +
                  ", rrc_state_current = " + now + ", rrc_state_current_in = " + now +
                  ", old rrc_active_time = 0, old rrc_setup_count = 0\n" +
                  (row.line.empty() ? "----" + name +
                                          "New Connected and Old other state, rrc_setup_count = 1, "
                                          "sub_id 0\n"
                                    : name + row.line));
    expect_records(got, row.records);
  }
}

}  // namespace
