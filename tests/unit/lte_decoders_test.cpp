// The decoders of the LTE logs: a packet of every version that tests/captures has none of, and
// every check reached once.
#include "support/decoder_rows.h"
#include "support/test.h"

namespace {

using namespace support;
// The cell that stands for versions without a real packet.
const std::string two_antennas =
    "version = 1, earfcn = 1850, rx_valid = 3, pci = 123, is_srv_cell = 1, srv_cell_idx = 1, "
    "num_cells = 1\nsubpacket_id = 25\n"
    "rsrp_rx0 = -92.50, rsrp_rx1 = -93.50, rsrp_rx2 = -180.00, rsrp_rx3 = -180.00\n"
    "rsrq_rx0 = -10.00, rsrq_rx1 = -11.00, rsrq_rx2 = -30.00, rsrq_rx3 = -30.00\n"
    "rssi_rx0 = -65.00, rssi_rx1 = -66.00, rssi_rx2 = -110.00, rssi_rx3 = -110.00\n"
    "snr_rx0 = 10.00, snr_rx1 = 5.00, snr_rx2 = -20.00, snr_rx3 = -20.00\n"
    "avg_rsrp = -92.50, avg_rsrq = -10.00, max_rssi = -65.00\n";
const std::string four_antennas =
    "version = 1, earfcn = 1850, rx_valid = 15, pci = 123, is_srv_cell = 1, srv_cell_idx = 1, "
    "num_cells = 1\nsubpacket_id = 25\n"
    "rsrp_rx0 = -92.50, rsrp_rx1 = -93.50, rsrp_rx2 = -97.50, rsrp_rx3 = -98.50\n"
    "rsrq_rx0 = -10.00, rsrq_rx1 = -11.00, rsrq_rx2 = -12.00, rsrq_rx3 = -13.00\n"
    "rssi_rx0 = -65.00, rssi_rx1 = -66.00, rssi_rx2 = -70.00, rssi_rx3 = -71.00\n"
    "snr_rx0 = 10.00, snr_rx1 = 5.00, snr_rx2 = 0.00, snr_rx3 = -5.00\n"
    "avg_rsrp = -92.50, avg_rsrq = -10.00, max_rssi = -65.00\n";

const std::string of_two_antennas =
    "3a0700007b000103000000b9c2000020c1000082c2000020410000bbc2000030c1000084c20000a040"
    "000034c30000f0c10000dcc20000a0c1000034c30000f0c10000dcc20000a0c1";
const std::string of_four_antennas =
    "3a0700007b00010f000000b9c2000020c1000082c2000020410000bbc2000030c1000084c20000a040"
    "0000c3c2000040c100008cc2000000000000c5c2000050c100008ec20000a0c0";

const decoder_row packets[] = {
    {0xB062,
     "01010000063134000100010101070aff98ff0000011c48070018e2000007000000523b7dfd69b6000000f55400"
     "00ff0001000000d6040000",
     "sub_id = 0, version = 1, num_records = 1, version_sub = 49, rach_result = 1\n", "132:013101"},

    // Two samples, one LCG3 entry each, of which one reports nothing.
    {0xB064,
     "0101434a 08022c0002 01000200143c61000139000203 05 3d23231fc0 01000000843c61000100000203 05 "
     "3d3a03e331 00",
     "LTE FSSR: version_sub = 2, num_samples = 2\n"
     "------ count_tb = 0, grant = 97, hdr_len = 5\n"
     "------ count_tb = 1, grant = 97, hdr_len = 5\n"
     "version = 1, phr_ind = 49, bsr_lcg3_avg = 1063, bsr_lcg3_num = 2, bsr_lcg3_bytes = 2127\n",
     "114:013100270400000200 4f080000"},
    // Dual connectivity headroom with a length of its own; lengths of 15 and 16 bits, a long and a
    // truncated report; an id that is not known; a report of another group.
    {0xB064,
     "01010000 0808600004 00*13 0e 3d380725041f c0 000100009b347f 00*13 0f 3e3a238102640102 3c01 "
     "aabbff c5 c1 00*13 03 3a0b00 00*13 03 3d1f40",
     "LTE FSSR: version_sub = 8, num_samples = 4\n"
     "------ count_tb = 0, grant = 0, hdr_len = 14\n"
     "------ count_tb = 1, grant = 0, hdr_len = 15\n"
     "------ count_tb = 2, grant = 0, hdr_len = 3\n"
     "not support lcid_data_array[1] = 11\n"
     "------ count_tb = 3, grant = 0, hdr_len = 3\n"
     "version = 1, phr_ind = 5, bsr_lcg3_avg = 50003, bsr_lcg3_num = 3, bsr_lcg3_bytes = 150010\n",
     "114:01050053c300000300fa490200"},
    // Every buffer size there is.
    {0xB064,
     "01010000 0802a10002 00*13 40 3d*31 1d "
     "c0c1c2c3c4c5c6c7c8c9cacbcccdcecfd0d1d2d3d4d5d6d7d8d9dadb"
     "dcdddedf 00*13 40 3d*31 1d e0e1e2e3e4e5e6e7e8e9eaebecedeeeff0f1f2f3f4f5f6f7f8f9fafbfcfdfeff",
     "LTE FSSR: version_sub = 2, num_samples = 2\n"
     "------ count_tb = 0, grant = 0, hdr_len = 64\n"
     "------ count_tb = 1, grant = 0, hdr_len = 64\n"
     "version = 1, phr_ind = 255, bsr_lcg3_avg = 18414, bsr_lcg3_num = 64, bsr_lcg3_bytes = "
     "1178496\n",
     "114:01 ff00 ee470000 4000 80fb1100"},
    // Elements of no interest in front of one; no buffer status.
    {0xB064, "01010000 0805250001 00*13 11 323334353b3f1a ff*9 05",
     "LTE FSSR: version_sub = 5, num_samples = 1\n"
     "------ count_tb = 0, grant = 0, hdr_len = 17\n"
     "version = 1, phr_ind = 5, bsr_lcg3_avg = 0, bsr_lcg3_num = 0, bsr_lcg3_bytes = 0\n",
     "114:01 0500 00000000 0000 00000000"},

    // Antenna 0, 1, then 0 without a level, then 2 (745) and 3 (744).
    {0xB111,
     "1505500c1e051f0500000000 40080a58c53befbb 4108f877983baeb7 4008b36b67f8ffff 4608f877989baeba "
     "4308f877988baeba",
     "version = 21, num_records = 5, rssi0_i = 755, rssi1_i = 739, rssi2_i = 745, rssi3_i = 744\n"
     "rssi0 = -67.25, rssi1 = -71.25, rssi2 = -69.75, rssi3 = -70.00\n",
     "96:1505008086c200808ec200808bc200008cc2"},

    {0xB14E, "1687253669cb3042 00*27 01", "version = 22, rank_idx = 1, wideband_cqi_cw0 = 11\n",
     "84:16010b00"},
    {0xB14E, "1787e50669cb3042 00*27 21", "version = 23, rank_idx = 1, wideband_cqi_cw0 = 11\n",
     "84:17010b00"},
    {0xB14E, "6787e55669cb3442 00*14 02 00*5 02 00*6 21",
     "version = 103, rank_idx = 1, wideband_cqi_cw0 = 11\n", "84:67010b00"},
    {0xB14E, "8e87650c5ba52d132304 00*25 029165a000",
     "version = 142, rank_idx = 1, wideband_cqi_cw0 = 11\n", "84:8e010b00"},

    // 48 bytes each, PUSCH and PUCCH, then the PUSCH report in 36 bytes.
    {0xB16D,
     "313c0003 70ea260011660202 00*14 c001f201303022c2030000c0b045a2aa890f16161500bc0c0000 "
     "27c62a0030a60402 00*14 003d326ce100 04 00*11 18181700bc0c0000 70ea260011660200 0000 "
     "c001f201303022c20b0000c0b045a2aa890f16161500bc0c0000",
     "version = 49, num = 3, pucch_tx_power -128, pusch_num_res_blocks = 4, pusch_modulation_type "
     "= 3, pusch_tx_power = 7, pusch_mcs = 15\n"
     "version = 49, num = 3, pucch_tx_power -12, pusch_num_res_blocks = 0, pusch_modulation_type = "
     "0, pusch_tx_power = -128, pusch_mcs = 0\n"
     "version = 49, num = 3, pucch_tx_power -128, pusch_num_res_blocks = 4, pusch_modulation_type "
     "= 3, pusch_tx_power = 7, pusch_mcs = 15\n",
     "83:3103 800403070f f400008000 800403070f"},
    {0xB16D,
     "30000002 00000000 1066e623 f4 00*43 00000000 1166e623 07040000 00*28 e001000300000000 00*4",
     "version = 48, num = 2, pucch_tx_power -12, pusch_num_res_blocks = 0, pusch_modulation_type = "
     "0, pusch_tx_power = -128, pusch_mcs = 0\n"
     "version = 48, num = 2, pucch_tx_power -128, pusch_num_res_blocks = 4, pusch_modulation_type "
     "= 3, pusch_tx_power = 7, pusch_mcs = 15\n",
     "83:3002 f400008000 800403070f"},

    {0xB16E, "040000012c553f04498118ffa11f0000",
     "version = 4, num_records = 1, pusch_tx_power -3, dl_path_loss 98\n", "98:0401fd62"},
    {0xB16E, "050000012c553f040c498118fc877e00",
     "version = 5, num_records = 1, pusch_tx_power -3, dl_path_loss 98\n", "98:0501fd62"},
    {0xB16F, "040000012c553f2401100300fefffd00",
     "version = 4, num_records = 1, pucch_tx_power -3, dl_path_loss 98\n", "128:0401fd62"},

    // The second record's only block is of another RNTI: paging, CRC passed.
    {0xB173,
     "30020000 c31106020200 00*6 65b00000ed021d0604010000 35000000250217060801000000000300 "
     "050f03010100 00*6 810200000a00040302 00*19",
     "version = 48, num_records = 2, pdsch_mcs = 4, pdsch_rb = 3, pdsch_mod_type = 2, "
     "pdsch_rnti_type = 2, num_layers = 1\n"
     "tb_bytes = 1308, num_layers_crnti 2, tb_bytes_crnti 1298, crc_result 1\n",
     "93:30020403020201 1c050000 02 1205000000000000 01"},

    {0xB193,
     "01010000190450003a077b02 00*9 e015000080560000805700000014003001001400400b58d002 00*22 2cf"
     "501000000",
     two_antennas, "108:01 04" + of_two_antennas},
    {0xB193,
     "01010000190754003a0700007b02 00*11 e015000080560000805700000014003001001400400b58d002 "
     "00*22 2cf50100",
     two_antennas, "108:01 07" + of_two_antennas},
    {0xB193,
     "01010000191868003a070000010000007b12 00*15 c02b000080560000805700000014003001001400400b58d"
     "002 00*22 2cf50100",
     two_antennas, "108:01 18" + of_two_antennas},
    {0xB193,
     "01010000192388003a070000010000007b12 00*15 e01500008056000080520018852f 00*5 4001001300800"
     "41140010000d002160080821300d002 00*22 2cf50100c82c0100",
     four_antennas, "108:01 23" + of_four_antennas},
    {0xB193,
     "01010000192890003a07000001000f007b12 00*15 e0150000805600008052 00*5 18852f 00*5 400100130"
     "080041140010000d002160080821300d002 00*22 2cf50100c82c0100",
     four_antennas, "108:01 28" + of_four_antennas},
    {0xB193,
     "01010000193094003a07000001000f00 0000ffff 7b12 00*15 e0150000805600008052 00*5 18852f 00*5 "
     "400100130080041140010000d002160080821300d002 00*30 2cf50100c82c0100",
     four_antennas, "108:01 30" + of_four_antennas},
};

TEST(lte_decoders, packets_of_every_version_whole_and_cut) {
  for (const auto& one : packets) {
    expect_decoded(one);
    expect_cut_is_refused(one);
  }
}

TEST(lte_srv_meas, serving_cell_need_not_be_the_first) {
  const struct {
    unsigned version, cells, stride;
  } rows[] = {{19, 8, 88},  {22, 8, 120}, {24, 8, 92},  {35, 8, 124},
              {36, 8, 128}, {40, 8, 132}, {48, 12, 140}};
  for (const auto& row : rows) {
    // Two cells; the second is marked.
    auto payload = support::hex("01010000 1900 0008 3a070000 0200");
    payload[5] = static_cast<std::uint8_t>(row.version);
    payload.resize(8 + row.cells + row.stride);
    payload = payload + support::hex("7b10 00*198");
    EXPECT_NE(decoded::log(0xB193, payload).lines.find("pci = 123, is_srv_cell = 1"),
              std::string::npos)
        << row.version;
  }

  // None at all: the first one.
  EXPECT_EQ(
      decoded::log(0xB193, "01010000 192390003a070000 0200 0000 7b00 00*300").lines.substr(0, 70),
      "version = 1, earfcn = 1850, rx_valid = 0, pci = 123, is_srv_cell = 0, ");
}

TEST(lte_pdsch_stat_indication, other_versions_and_modulation_by_mcs) {
  const struct {
    const char *payload, *record;  // from pdsch_mcs to pdsch_mod_type
  } rows[] = {
      {"05010000 461f14020100 c300dc050914 00*8", "0501 091402"},
      {"05010000 461f14020100 c300dc050a14 00*8", "0501 0a1404"},
      {"05010000 461f14020100 c300dc051014 00*8", "0501 101404"},
      {"05010000 461f14020100 c300dc051114 00*8", "0501 111406"},
      {"05010000 461f14020100 c300dc051d14 00*8", "0501 1d1402"},
      {"05010000 461f14020100 c300dc051e14 00*8", "0501 1e1404"},
      {"20020000 00*24 461f14020100 c300dc0512140600 00*10", "2002 121406"},
      {"22020000 00*24 461f14020100 c300dc0512140600 00*10", "2202 121406"},
      {"25010000 461f14020100 00*6 c3000000dc05121406 00*19", "2501 121406"},
      {"28010000 461f14020100 00*6 c3000000dc05121406 00*19", "2801 121406"},
  };
  for (const auto& row : rows) {
    expect_records(decoded::log(0xB173, row.payload),
                   "93:" + std::string(row.record) + "0002 dc050000 02 dc05000000000000 01");
  }
}

TEST(lte_decoders, what_is_refused) {
  const struct {
    std::uint16_t code;
    const char *payload, *line;  // how the last one begins
  } rows[] = {
      {0xB062, "01010000 0731", "DATA_IS_NOT_VALID(7), name(sub_packet_id)"},
      {0xB062, "01010000 0631 00*5 80",
       "DATA_IS_NOT_VALID(-128), name(modem_stats_parse_b062_diag_log_lte_mac_rach_attempt)"},
      {0xB062, "01000000", "DATA_IS_NOT_VALID(-1)"},
      {0xB062, "01010000 0632", "VERSION_NOT_SUPPORT, version(50)"},
      {0xB062, "01010000 0604", "VERSION_NOT_SUPPORT, version(4)"},
      {0xB064, "01000000", "DATA_IS_NOT_VALID(0), name(num_subpkt)"},
      {0xB064, "01050000", "Cur(5) reached max(4), for num_subpkt"},
      {0xB064, "01010000 0708 0500", "DATA_IS_NOT_VALID(7), name(sub_packet_id)"},
      {0xB064, "01010000 0804 0500",
       "VERSION_NOT_SUPPORT, version(4), not_support_num(1), name(lte_mac_ul_transport_block)"},
      {0xB064, "01010000 0808 0300", "DATA_IS_NOT_VALID(3), name(size_sub)"},
      {0xB064, "01010000 0808 0500 1a", "Cur(26) reached max(25), for num_samples"},
      // Another sub-header, a length and an element that do not fit; too many sub-headers.
      {0xB064, "01010000 0808 1500 01 00*13 01 3f 00*8", "DATA_IS_NOT_VALID(1), name(hdr_len)"},
      {0xB064, "01010000 0808 1500 01 00*13 01 21 00*8", "DATA_IS_NOT_VALID(1), name(hdr_len)"},
      {0xB064, "01010000 0808 1500 01 00*13 03 1e 00*8", "DATA_IS_NOT_VALID(3), name(hdr_len)"},
      {0xB064, "01010000 0808 3500 01 00*13 21 3f*33", "Cur(33) reached max(32), for lcid_data"},
      {0xB0C2, "02f801 00*22", "DATA_IS_NOT_VALID(504), name(pci)"},
      {0xB111, "15e0", "DATA_IS_NOT_VALID(0), name(num_records)"},
      {0xB111, "1515", "Cur(21) reached max(20), for num_records"},
      {0xB14E, "65c5d310c9c0", "DATA_IS_NOT_VALID(4), name(rank_idx)"},
      {0xB16D, "2f", "VERSION_NOT_SUPPORT, version(47)"},
      {0xB16D, "32", "VERSION_NOT_SUPPORT, version(50)"},
      {0xB16D, "30ffff00", "DATA_IS_NOT_VALID(0), name(num)"},
      {0xB16D, "31ffff15", "Cur(21) reached max(20), for num"},
      {0xB16E, "18", "VERSION_NOT_SUPPORT, version(24)"},
      {0xB16E, "19000000", "DATA_IS_NOT_VALID(0), name(num_records)"},
      {0xB16E, "19000033", "Cur(51) reached max(50), for num_records"},
      {0xB16F, "19", "VERSION_NOT_SUPPORT, version(25)"},
      {0xB173, "1000", "DATA_IS_NOT_VALID(0), name(num_records)"},
      {0xB173, "101a", "Cur(26) reached max(25), for num_records"},
      {0xB173, "10010000 0000000003", "Cur(3) reached max(2), for num_tb"},
      {0xB193, "0100", "DATA_IS_NOT_VALID(0), name(num_subpkt)"},
      {0xB193, "01010000 1a18 0800", "DATA_IS_NOT_VALID(26), name(subpacket_id)"},
      {0xB193, "01010000 193b 0800",
       "VERSION_NOT_SUPPORT, version(59), not_support_num(1), name(lte_srv_meas)"},
      {0xB193, "01010000 1930 0800 00*8", "DATA_IS_NOT_VALID(0), name(num_cells)"},
      {0xB193, "01010000 1930 0800 00000000 0500", "Cur(5) reached max(4), for num_cells"},
      {0xB193, "01010000 1904 5000 00*76", "DATA_IS_NOT_VALID(0), name(rx_valid)"},
      {0xB193, "01010000 1930 a400 00000000 0100 1000 00*144",
       "DATA_IS_NOT_VALID(16), name(rx_valid)"},
  };
  for (const auto code : {0xB062, 0xB064, 0xB0C2, 0xB111, 0xB14E, 0xB173, 0xB193}) {
    const auto lines = decoded::log(static_cast<std::uint16_t>(code), "09").lines;
    EXPECT_TRUE(lines.starts_with("VERSION_NOT_SUPPORT, version(9)")) << lines;
  }
  for (const auto& row : rows) {
    const auto made = decoded::log(row.code, row.payload);
    const auto last = made.lines.rfind('\n', made.lines.size() - 2) + 1;
    EXPECT_EQ(made.lines.find(row.line, last), last) << row.line << "\n" << made.lines;
    EXPECT_TRUE(made.records.empty()) << row.line;
  }
}

}  // namespace
