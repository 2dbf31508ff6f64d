// What only tvk-decode decodes: versions that the product's parsers reject, and the cells beside
// records.
#include "support/decoder_rows.h"
#include "support/test.h"

namespace {

using namespace support;

void expect_extra(std::span<const decoder_row> rows) {
  for (const auto& row : rows) {
    expect_made(decoded::log_of_any_version(row.id, row.payload), row);
    const auto strict = decoded::log(row.id, row.payload);
    EXPECT_PRED2(contains, strict.lines, "VERSION_NOT_SUPPORT");
    EXPECT_TRUE(strict.records.empty()) << row.payload;
  }
}

TEST(extra_versions, are_decoded_where_they_are_wanted) {
  const std::string rach = "sub_id = 0, version = 1, num_records = 1, version_sub = ";
  const decoder_row rows[] = {
      {0xB062, "01010000 0602 0c00 0101", rach + "2, rach_result = 1\n", "132:010201"},
      {0xB062, "01010000 0603 0c00 01000201", rach + "3, rach_result = 1\n", "132:010301"},
      {0xB062, "01010000 0604 0c00 01020107", rach + "4, rach_result = 2\n", "132:010402"},
      {0xB062, "01010000 0632 0c00 01000101", rach + "50, rach_result = 1\n", "132:013201"},
      {0x4179, "010bff7aff00fe00fe000000",
       "version = 1, rx_agc_old_0 = -245, rx_agc_old_1 = -134, rx_agc_0 = -79.30, "
       "rx_agc_1 = -68.29\n",
       "110:019a999ec27b9488c2"},
      {0x4179, "0379ff000200fe00",
       "version = 3, rx_agc_old_0 = -135, rx_agc_old_1 = 512, rx_agc_0 = -68.30, rx_agc_1 = "
       "-3.60\n",
       "110:039a9988c2666666c0"},
      {0xB16D,
       "08000003 c22cfe20000000000d1b9a00000000000000000000000000 "
       "c5b43000000000000080860d1538514200aa09ed0a000000 "
       "c7ac9e00000000000080860d1532a16200aa09ec1d000000",
       "version = 8, num = 3, pucch_tx_power -4, pusch_num_res_blocks = 0, "
       "pusch_modulation_type = 0, pusch_tx_power = -128, pusch_mcs = 0\n"
       "version = 8, num = 3, pucch_tx_power -128, pusch_num_res_blocks = 9, "
       "pusch_modulation_type = 1, pusch_tx_power = 21, pusch_mcs = 5\n"
       "version = 8, num = 3, pucch_tx_power -128, pusch_num_res_blocks = 10, "
       "pusch_modulation_type = 2, pusch_tx_power = 21, pusch_mcs = 14\n",
       "83:0803fc000080008009011505800a02150e"},
  };
  expect_extra(rows);
}

/// A sub-packet with one cell of four antennas; tests vary its version, size and the word with the
/// first antenna's RSRQ.
std::string srv_meas(const std::string& version, const std::string& size = "a000",
                     const std::string& rsrq = "04118410") {
  return "01010000 19" + version + size +
         "14050000 01000000 0f000000 00010203 e4810000 9a1d0000 580e0300 2c87d10c 9a491300 "
         "cfc44900 98344100 13944500 59242500 d2244d00" +
         rsrq +
         "0891b30d 08218410 8e9a1200 eff11100 8e020000 ffff0300 09000400 39003800 39003a00 "
         "00000000 78440100 7b710100 4a090100 a2a30000 ebc10700 e2350700 27010000 27010000 "
         "c1000000 95000000 07755000 f4944e00 00000000 08010000";
}

const std::string identity_of_srv_meas =
    "version = 1, earfcn = 1300, rx_valid = 15, pci = 484, is_srv_cell = 1, srv_cell_idx = 0, "
    "num_cells = 1\nsubpacket_id = 25\n";
const std::string levels_of_srv_meas =
    "rsrp_rx0 = -102.88, rsrp_rx1 = -106.25, rsrp_rx2 = -114.81, rsrp_rx3 = -110.44\n"
    "rsrq_rx0 = -13.75, rsrq_rx1 = -13.50, rsrq_rx2 = -15.75, rsrq_rx3 = -16.31\n"
    "rssi_rx0 = -69.13, rssi_rx1 = -72.81, rssi_rx2 = -79.06, rssi_rx3 = -74.13\n"
    "avg_rsrp = -102.88, avg_rsrq = -13.50, max_rssi = -69.13\n";
const std::string record_of_srv_meas =  // after its version
    "14050000e401010f008fc2cdc200005cc18f428ac20000c07f0080d4c2000058c1b89e91c20000c07f"
    "b89ee5c200007cc1b81e9ec20000c07f48e1dcc2e17a82c18f4294c20000c07f";

TEST(extra_versions, lte_srv_meas_has_what_is_known_of_its_version) {
  const std::string filtered = "filtered_rsrp = -102.88, filtered_rsrq = -13.50\n";
  const decoder_row rows[] = {
      {0xB193, srv_meas("3c"), identity_of_srv_meas + levels_of_srv_meas,
       "82:01 3c" + record_of_srv_meas},
      // 59 must show by RSRQ, RSRP and RSSI that it has the places of 60.
      {0xB193, srv_meas("3b"), identity_of_srv_meas + levels_of_srv_meas,
       "82:01 3b" + record_of_srv_meas},
      {0xB193, srv_meas("3b", "a000", "24118410"), identity_of_srv_meas + filtered},
      {0xB193, srv_meas("38", "b000") + "00*16", identity_of_srv_meas + filtered},
      {0xB193, srv_meas("32", "b000") + "00*16", identity_of_srv_meas + filtered},
      {0xB193, srv_meas("3c", "a400"), "DATA_IS_NOT_VALID(164), name(size_sub), id(0xb193)\n"},
  };
  expect_extra(rows);
}

TEST(beside_records, cells_of_levels_are_read_without_being_needed) {
  const std::string ftl = "07000000 d00faf00 01 00*67 aa5e0000 c2230100 99290000 00000000";
  struct {
    std::uint16_t code;
    std::string payload;
    std::vector<std::string> beside;
  } const rows[] = {
      {0xB975, "01000200 c602 0000 14 10 0000 17caffff 0afaffff", {"c6020000"}},
      {0xB8D8, "02000300 d003af00 02000000 a35e0000 c8230100 99290000 3b240000", {"bc02000002"}},
      {0xB8DD, ftl + "e0ca0900", {"bc020000e0ca090001"}},
      {0xB8DD, ftl + "e0ca09", {"bc020000ffffffff01"}},
      {0xB97F,
       "07000200 01 00*11 de930600 0100dc03 00*4 ccc7ffff e8c7ffff 00*12 "
       "dc030000 01000000 00*4 f7f9ffff 00*20 5bcaffff 46c6ffff 00*16",
       {"dc03de930600"}},
      {0xB193, srv_meas("3c"), {"00"}},
      {0xB16E, "19000001 1850f22102370019f983fc0b", {""}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(decoded::log_of_any_version(row.code, row.payload).beside, row.beside) << row.payload;
  }
}

}  // namespace
