// Packets of the NR5G RRC, L2 and MAC logs, by hand from docs/formats/nr5g_mac_rrc.md, where it
// also says which of them are real.
#include <map>
#include <sstream>

#include "support/decoder_rows.h"
#include "support/test.h"

namespace {

using namespace support;

const std::map<std::uint16_t, std::string> parsers = {
    {0xB823, "b823_diag_log_nr5g_rrc_serving_cell_info"},
    {0xB825, "b825_diag_log_nr5g_rrc_configuration_info"},
    {0xB872, "b872_diag_log_nr5g_l2_ul_tb"},
    {0xB884, "b884_diag_log_nr5g_mac_ul_phy_ch_power_ctrl"},
    {0xB885, "b885_diag_log_nr5g_mac_dci_info"},
    {0xB887, "b887_diag_log_nr5g_mac_pdsch_status"},
    {0xB888, "b888_diag_log_nr5g_mac_pdsch_stats"},
    {0xB88A, "b88a_diag_log_nr5g_mac_rach_attempt"},
    {0xB8A7, "b8a7_diag_log_nr5g_mac_csf_report"},
};

/// Lines, with # for a value, @ for the parser and $ for the log.
const std::map<std::string, std::string> forms = {
    {"cell",
     "version = #, mcc = #, mnc_num #, mnc #, tac #, cgi #, pci #\n"
     "freq_band_ind = #, dl_earfcn = #, dl_bw #, ul_earfcn #, ul_bw #, allow_access #"},
    {"configuration",
     "version = #, num_contiguous_cc_groups = #, num_nrdc_scg_contiguous_cc_groups = #, "
     "num_active_cc = #, num_nrdc_scg_active_cc = #, num_active_rb = #"},
    {"carrier",
     "pci = #, arfcn_dl = #, arfcn_ul = #, band = #, band_type = #, bw_dl = #, bw_ul = #"},
    {"bearer",
     "dl_rb_type = #, dl_rb_path = #, dl_rohc_enable = #, ul_rb_type = #, ul_rb_path = #, "
     "ul_rohc_enable = #"},
    {"state", "rrc_state = #, conn_mode = #"},
    {"sample", "NR5G FSSR: num_tti = #, is_type2_other_cell = #"},
    {"tti", "------ S-TTI: tti = #, slot = #, fn = #, num_tb = #"},
    {"block_end", "------ TB-End: tb = #"},
    {"tti_end", "------ TTI: tti = #"},
    {"short", "------ ShortBsr: lcg = #, bsr_idx = #"},
    {"short_truncated", "------ Short Truncated Bsr: lcg = #, bsr_idx = #"},
    {"long", "------ LongBsr: lcg_bitmap = #, bsr_idx = #"},
    {"long_truncated", "------ Long Truncated Bsr: lcg_bitmap = #, bsr_idx = #"},
    {"c_rnti", "------ CrntiStruct: c_rnti = #"},
    {"rate", "------ BitrateMce: lcid = #, uplink = #, bit_rate_idx = #, times_100 = #"},
    {"phr", "------ SinglePhr: phr_idx = #, pcmax_idx = #"},
    {"mc1", "------ Mc1Phr: cell = #, phr_idx = #, pcmax_idx = #"},
    {"mc1_virtual", "------ Mc1Phr: cell = #, phr_idx = #"},
    {"mc4", "------ Mc4Phr: cell = #, phr_idx = #, pcmax_idx = #"},
    {"mc4_virtual", "------ Mc4Phr: cell = #, phr_idx = #"},
    {"sizes", "version = #, bsr_idx = #, bsr_idx_num = #, bsr_idx_sum = #"},
    {"power",
     "version = #, num_records = #, num_carriers = #, tx_power_pusch = #, tx_power_pucch = #, "
     "tx_power_srs = #, tx_power_prach = #"},
    {"dci", "version = #, num_records = #, mcs_dl = #, mcs_ul = #, rb_assi_num = #"},
    {"status",
     "version = #, num_records = #, num_pdsch_status = #, mod_type = #, mcs = #, "
     "pdsch_rnti_type = #, num_layers = #\n"
     "sub_id = #, num_layers = #, num_mimo = #, mimo22_flag = #"},
    {"stats", "version = #, num_records = #, num_pdcp_decode = #, num_crc_fail = #, tb_bytes = #"},
    {"csf",
     "version = #, num_records = #, metrics_ri = #, metrics_cqi = #, bitwidth_ri = #, "
     "bitwidth_cqi = #"},
    {"rach", "sub_id = #, version = #, rach_msg_bitmask = #, t_rnti = #, ta = #, rach_result = #"},
    {"invalid", "DATA_IS_NOT_VALID(#), name(modem_stats_parse_@), id(0x$)"},
    {"max", "Cur(#) reached max(#), for #, id(0x$)"},
    {"version",
     "VERSION_NOT_SUPPORT, version(#), not_support_num(1), name(modem_stats_parse_@), id(0x$)"},
};

/// The lines that "form value value; form ..." stands for.
std::string lines_of(std::uint16_t code, const std::string& shorthand) {
  const auto& parser = parsers.at(code);
  std::istringstream all(shorthand);
  std::string text;
  for (std::string line; std::getline(all, line, ';');) {
    std::istringstream words(line);
    std::string word;
    words >> word;
    for (const char c : forms.at(word)) {
      if (c == '#') words >> word;
      if (c == '#')
        text += word;
      else if (c == '@')
        text += parser;
      else if (c == '$')
        text += parser.substr(0, 4);
      else
        text += c;
    }
    text += '\n';
  }
  return text;
}

// With lines in shorthand.
const decoder_row samples[] = {
    {0xB823,
     "03000300 010100 4b00 01c83b5725223000 1aee0100 080e0200 0a00 0a00 01c83b5705000000 2e01 03 "
     "dc00 00 8eb92100 4700",
     "cell 196611 302 3 220 2210190 22938372097 75 71 126490 10 134664 10 0",
     "130:030003002e0103dc008eb9210001c83b57050000004b0047001aee01000a00080e02000a0000"},
    {0xB823,  // the highest identity of a cell
     "00000300 ef03 01102cb162003001 60b40900 61b40900 6400 5000 01102cb102000000 cc01 02 0000 00 "
     "34120000 4e00",
     "cell 196608 460 2 0 4660 11562389505 1007 78 636000 100 636001 80 0",
     "130:00000300cc010200003412000001102cb102000000ef034e0060b40900640061b40900500000"},
    {0xB823, "04000000 f003 00*32", "cell 4 0 0 0 0 0 1008 0 0 0 0 0 0; invalid 1008"},
    {0xB825,
     "08000000 10 01 02 01 00*50 010101 4e000101 00 9d02 52d20900 52d20900 4e00 01 0b 0b 0000 21 "
     "02 01 02 00 0000 01 02 00 00*8",
     "configuration 8 1 0 1 0 1; carrier 669 643666 643666 78 1 11 11; bearer 1 2 0 1 2 0; state "
     "16 2",
     "97:0800000001000100019d0252d2090052d209004e00010b0b0102000102001002"},
    {0xB825,  // with the bytes of a list that is gone
     "0a000000 0f 00 00 00*51 000101 00 0401 12c50700 13c50700 8ea60700 2900 01 0c 0b 0401 21 02 "
     "01 02 00 0000 01 02 01 00*8 ff*4",
     "configuration 10 0 0 1 0 1; carrier 260 509202 509203 41 1 12 11; bearer 1 2 0 1 2 1; state "
     "15 0",
     "97:0a0000000000010001040112c5070013c507002900010c0b0102000102010f00"},
    {0xB825,
     "00000200 07 00 02 00*51 000101 00 0401 12c50700 13c50700 8ea60700 2900 01 0c 0b 0401 01 01 "
     "02 03 01 0202 01 04 01 00*8",
     "configuration 131072 0 0 1 0 1; carrier 260 509202 509203 41 1 12 11; bearer 2 3 1 1 4 1; "
     "state 7 2",
     "97:000002000000010001040112c5070013c507002900010c0b0203010104010702"},
    {0xB825,  // a group of either kind, two NR-DC carriers and no other
     "03000300 00*8 02 01 03 00*51 01 01 00 02 02 ff*8 00 0401 12c50700 33330000 ffffffff 2900 01 "
     "0e 0f 010401 01 0501 12c50700 00000000 ffffffff 2a00 02 10 00 030401 01 01 02 02 01 0000 02 "
     "02 01 00*8 01 01 01 02 01 0000 01 02 00 00*8",
     "configuration 196611 1 1 0 2 2; carrier 260 509202 13107 41 1 14 15; carrier 261 509202 0 42 "
     "2 16 0; bearer 2 2 1 2 2 1; bearer 1 2 1 1 2 0; state 2 3",
     "97:030003000101000202040112c50700333300002900010e0f050112c50700000000002a0002100002020102020"
     "10102010102000203"},
    {0xB825,  // ul_rohc_enable behind the primary path
     "04000300 00*8 02 01 02 00*52 00 00 01 00 01 00 0401 12c50700 12c50700 ffffffff 2900 01 0e 0e "
     "010401 01 01 02 02 01 0000 02 02 00 01 00*7",
     "configuration 196612 0 0 1 0 1; carrier 260 509202 509202 41 1 14 14; bearer 2 2 1 2 2 1; "
     "state 2 2",
     "97:040003000000010001040112c5070012c507002900010e0e0202010202010202"},
    {0xB825,
     "06000300 00*8 02 01 02 00*52 00 00 01 00 01 00 0401 12c50700 12c50700 ffffffff 2900 01 0e 0e "
     "010401 eeee 01 01 02 02 01 0000 02 02 01 00 01 00*6",
     "configuration 196614 0 0 1 0 1; carrier 260 509202 509202 41 1 14 14; bearer 2 2 1 2 2 0; "
     "state 2 2",
     "97:060003000000010001040112c5070012c507002900010e0e0202010202000202"},
    {0xB825, "08000000 00*54 09 11 21", "max 9 8 num_contiguous_cc_groups"},
    {0xB825, "03000300 00*62 08 09 10 11 21", "max 9 8 num_nrdc_scg_contiguous_cc_groups"},
    {0xB825, "08000000 00*54 08 11 21", "max 17 16 num_active_cc"},
    {0xB825, "03000300 00*62 08 08 10 11 21", "max 17 16 num_nrdc_scg_active_cc"},
    {0xB825, "03000300 00*62 08 08 10 10 21", "max 33 32 num_active_rb"},
    {0xB872,
     "04000000 01000000 0700 2c01 01000000 1900 0400 00010000 c8000000 0303 4204 08000000 "
     "3e03052011 392a1f",
     "sample 1 0; tti 0 7 300 1; long 0x5 32; long 0x5 17; phr 42 31; block_end 0; tti_end 0; "
     "sizes 4 24 2 49",
     "115:04000000180002003100"},
    {0xB872,  // five ways to end: with the octets, padding, unknown, long length, cut
     "04000000 51000000 0700 2c01 f5000000 00*16 0a 00*3 b60802010000a8df6364  00*16 06 00*3 "
     "373d453f0000  00*16 05 00*3 3d45320102 00*16 06 00*3 7e0003052011  00*16 c6 00*3 "
     "3d453e040520",
     "sample 1 0; tti 0 7 300 5; mc4 0 40 31; mc4_virtual 1 35; mc4_virtual 8 36; block_end 0; "
     "short 2 5; block_end 1; short 2 5; block_end 2; long 0x5 32; long 0x5 17; block_end 3; short "
     "2 5; block_end 4; tti_end 0; sizes 4 12 5 64",
     "115:040000000c0005004000"},
    {0xB872,  // the other special cell's headroom, then reports shorter than they say
     "04000000 21000000 0700 2c01 01000000 00*16 18 00*3 3806022d20281f63 3602ffff 3804fe282028 "
     "3804fe682820",
     "sample 1 1; tti 0 7 300 1; mc1 -1 45 32; mc1 0 40 31; mc1_virtual 1 35; mc1 -1 40 32; "
     "mc1_virtual -1 40; mc1 0 40 32; block_end 0; tti_end 0; sizes 4 0 0 0; invalid 0"},
    {0xB872,
     "01000200 02000000 04000c0001000000 09000000 54000000 50000000 02020003 c2000000 3d49 "
     "09000cfc01000000 11000000 e8030000 e8030000 00*4 06000000 35054f 39eadf",
     "sample 2 0; tti 0 4 12 1; short 2 9; block_end 0; tti_end 0; tti 1 9 12 1; rate 1 0 41 1; "
     "phr 42 31; block_end 0; tti_end 1; sizes 131073 9 1 9",
     "115:01000200090001000900"},
    {0xB872,
     "08000300 01000000 0e00210302000000 29000000 78000000 76000000 00*8 02000000 3da9 31000000 "
     "40000000 3c000000 00*8 d2000000 3a1234 380402281f63 3516a8 3c020b40 3b07",
     "sample 1 0; tti 0 14 801 2; short 5 9; block_end 0; c_rnti 4660; mc1 0 40 31; mc1_virtual 1 "
     "35; rate 5 1 21 0; long_truncated 0xb 64; short_truncated 0 7; block_end 1; tti_end 0; sizes "
     "196616 26 3 80",
     "115:080003001a0003005000"},
    {0xB872, "01000200 15000000", "max 21 20 num_tti"},
    {0xB884,
     "05000300 000000 01 09012802 0102292b 00 00 7f00 d403 3c00 d500 48fe 00*12 10 00 ddff ba04 "
     "0a00 dc00 2afe 00*12 00*8",
     "power 196613 1 1 127 -35 32767 32767", "90:05000300017f00ddffff7fff7f"},
    {0xB884,  // a kind that is not known, and one of which the last counts
     "03000300 000000 02 09012802 02f2292b 20 00 6400 00*20 10 00 3200 00*20 00*8 0a012802 "
     "f3f30000 31 ff 9cff 00*20 50 00 0100 00*20 2f 00 c800 00*20 00*16",
     "power 196611 2 3 32767 50 200 -100", "90:0300030003ff7f3200c8009cff"},
    {0xB884, "03000300 000000 00", "power 196611 0 0 32767 32767 32767 32767; invalid 32767"},
    {0xB884, "03000300 000000 11", "max 17 16 num_records"},
    {0xB884, "03000300 000000 01 00*4 01 09", "max 9 8 num_channels"},
    {0xB885,
     "05000200 00*11 01 0301bc0203000000 80050000 00*8 80240000 00*12 c0080080 22020000 02 00*7 "
     "80050000 480d6000 00180000",
     "dci 131077 1 21 17 546", "85:050002001500110022020000"},
    {0xB885,  // two records
     "0c000200 00*11 02 0301bc0201000000 80050000 c0070000 00*8 0401bc0202000000 80260000 00*12 "
     "c0180080 2202ff00 02 00*7 00050000 480d6000 00*8",
     "dci 131084 2 21 17 546", "85:0c0002001500110022020000"},
    {0xB885,
     "09000300 000000 03 0102 00*6 04010012 00090000 00*16 01900900 34120000 00*8 ff*32 05010012 "
     "00030000 00020000 00000000 f8074000 f8000700 00*8",
     "dci 196617 3 24 16 4660", "85:090003001800100034120000"},
    {0xB885,  // two of the uplink, and one whose fields are not known
     "09000300 000000 03 020001 00*5 00*25 1f 00*14 00*25 e9 00*2 3412fd 00*9 ff*32",
     "dci 196617 3 255 9 332340", "85:09000300ff00090034120500"},
    {0xB885, "05000200 00*11 00", "dci 131077 0 255 255 0; invalid 255"},
    {0xB885, "05000200 00*11 21", "max 33 32 num_records"},
    {0xB885, "05000200 00*11 01 00*4 0b", "max 11 10 num_dci"},
    {0xB885, "09000300 000000 00 202021", "max 33 32 num_records"},
    {0xB887, "05000200 00*11 01 0001e40301000000 07e40318f681b326e00d8030011840210700c900",
     "status 131077 1 1 9 12 0 2 0 2 1 0", "87:05000200090c02"},
    {0xB887,  // four layers for others, three and one for this phone, others again
     "05000200 00*11 03 00*4 02000000 00*14 0860 00*2 0100 00*11 6c 00*3 40 00*2 4c00 00*4 "
     "01000000 00*11 94 00*3 80 00*2 51ff 00*4 02000000 00*14 0860 00*2 c100 00*14 0820 00*2 c100",
     "status 131077 3 2 1 5 0 1 0 3 1 1", "87:05000200010501"},
    {0xB887,  // none for this phone
     "03000300 000000 01 00*4 02000000 00*14 0840 00*2 4100 00*11 04 00*2 0820 00*2 c100",
     "status 196611 1 2 1 1 2 2 0 2 1 0", "87:03000300010102"},
    {0xB887,
     "0d000300 000000 02 06016b0001000000 00*36 06016b0001000000 600d0300 bc020000 4061044c "
     "6a580020 01004900 00*16",
     "status 196621 2 1 9 19 0 2 0 2 1 1", "87:0d000300091302"},
    {0xB887, "03000300 000000 02 00*16", "invalid 2"},
    {0xB887, "03000300 000000 21", "max 33 32 num_records"},
    {0xB887, "03000300 000000 01 00*4 05", "max 5 4 num_pdsch_status"},
    {0xB888,  // more entries than it says
     "01000300 735d7401 c0260360775d785d795d7a5d 00000100 e18d6400 520a0200 16080200 3c020000 "
     "00*28 30170e0400000000 00*16 01000100 b5070000 0b000000 ff*60",
     "stats 196609 1 133714 572 68032304", "88:01000300520a02003c02000030170e04"},
    {0xB888, "00000300 000000 01 00*12 00*8 7a310500 a3d10400 d75f0000 00*28 ee5e822e000000 00*17",
     "stats 196608 1 340346 24535 780295918", "88:000003007a310500d75f0000ee5e822e"},
    {0xB888,
     "02000200 00*11 02 00*12 00*8 96000000 00*4 09000000 00*28 ffffffff00000000 00*16 00*8 "
     "01000000 00*4 00000000 00*28 0200000000000000 00*16",
     "stats 131074 2 151 9 4294967297", "88:02000200970000000900000001000000"},
    {0xB888, "00000300 000000 00", "stats 196608 0 0 0 0; invalid 0"},
    {0xB888, "00000300 000000 09", "max 9 8 num_records"},
    {0xB8A7,
     "01000200 00*11 01 0e01440102000000 0002601c00000000 c00e0000 37060000 02000000 00*40 "
     "0000172400000000 68890008 00*44 12100100",
     "csf 131073 1 1 11 2 4", "89:01000200010b0204"},
    {0xB8A7,  // the report on power behind the other; a record before it
     "05000300 000000 02 0e01440101000000 00*8 00001700 00*4 78000000 00*44 18180000 "
     "0f01440102000000 00*8 0000174c00000000 688b0008 00*44 32300100 00026044 00*56",
     "csf 196613 2 1 11 2 4", "89:05000300010b0204"},
    {0xB8A7, "01000200 00*11 01 00*4 01 00*3 00022000 00*56",
     "csf 131073 1 255 255 255 255; invalid 255"},
    {0xB8A7, "05000300 000000 09", "max 9 8 num_records"},
    {0xB8A7, "05000300 000000 01 00*4 09", "max 9 8 num_csf_reports"},
    {0xB88A, "03000200 00*17 00000f 00*38 4c2e0c00", "rach 0 131075 15 11852 12 0",
     "86:030002000c00"},
    {0xB88A, "06000200 00*17 010002 00*38 4c2e0c00", "rach 0 131078 2 11852 12 1",
     "86:060002000c00"},
    {0xB88A, "07000200 00*17 00000f 00*38 4c2e0c00", "rach 0 131079 15 11852 12 0",
     "86:070002000c00"},
    {0xB88A, "07000200 00*17 05000d 00*38 4c2e0c00", "rach 0 131079 13 65535 65535 5",
     "86:07000200ffff"},
    {0xB88A, "09000200 00*17 ff000f 00*38 4c2e0c00", "rach 0 131081 15 11852 12 255; invalid 12"},
    {0xB88A, "00000300 00*9 000002 00*38 4c2e060f", "rach 0 196608 2 11852 3846 0",
     "86:00000300060f"},
    {0xB88A, "05000300 00*10 000003 00*49 4c2e0c00", "rach 0 196613 3 11852 12 0",
     "86:050003000c00"},
    {0xB88A, "05000300 00*10 010002 00*49 4c2e0c00", "rach 0 196613 2 65535 65535 1",
     "86:05000300ffff"},
};

TEST(nr5g_mac_rrc, packets_of_every_version_and_what_is_refused) {
  for (auto row : samples) {
    row.lines = lines_of(row.id, row.lines);
    expect_decoded(row);
    if (!row.records.empty()) expect_cut_is_refused(row);
  }
}

TEST(nr5g_mac_rrc, other_versions_are_refused) {
  for (const auto& [code, name] : parsers) {
    const auto made = decoded::log(code, "09000400 00*11 01 0000ff00 00080100 00*84");
    EXPECT_EQ(made.lines, lines_of(code, "version 262153"));
    EXPECT_TRUE(made.records.empty()) << name;
  }
}

TEST(nr5g_mac_rrc, buffer_sizes_beyond_16_bits_are_cut_in_the_record_alone) {
  std::string payload = "04000000 01000000 00*4 07000000";  // seven blocks of 40 indices of 255
  for (int block = 0; block < 7; ++block) {
    payload += " 00*16 37 00*3";
    for (int report = 0; report < 5; ++report) payload += " 3e09 ff*9";
  }
  const auto made = decoded::log(0xB872, payload);
  EXPECT_TRUE(made.lines.ends_with(lines_of(0xB872, "sizes 4 255 280 71400")));
  EXPECT_EQ(made.records, std::vector<std::string>{"115:04000000ff001801ffff"});
}

}  // namespace
