// The decoders of the LTE logs: a packet of every version, and every check reached once.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/decoded.h"

namespace {

using support::decoded;
using records = std::vector<std::string>;

struct packet {
  std::uint16_t code;
  const char* payload;
  const char* lines;
  const char* record;
};

// The cell that stands for versions without a real packet.
constexpr const char* two_antennas =
    "version = 1, earfcn = 1850, rx_valid = 3, pci = 123, is_srv_cell = 1, srv_cell_idx = 1, "
    "num_cells = 1\nsubpacket_id = 25\n"
    "rsrp_rx0 = -92.50, rsrp_rx1 = -93.50, rsrp_rx2 = -180.00, rsrp_rx3 = -180.00\n"
    "rsrq_rx0 = -10.00, rsrq_rx1 = -11.00, rsrq_rx2 = -30.00, rsrq_rx3 = -30.00\n"
    "rssi_rx0 = -65.00, rssi_rx1 = -66.00, rssi_rx2 = -110.00, rssi_rx3 = -110.00\n"
    "snr_rx0 = 10.00, snr_rx1 = 5.00, snr_rx2 = -20.00, snr_rx3 = -20.00\n"
    "avg_rsrp = -92.50, avg_rsrq = -10.00, max_rssi = -65.00\n";
constexpr const char* four_antennas =
    "version = 1, earfcn = 1850, rx_valid = 15, pci = 123, is_srv_cell = 1, srv_cell_idx = 1, "
    "num_cells = 1\nsubpacket_id = 25\n"
    "rsrp_rx0 = -92.50, rsrp_rx1 = -93.50, rsrp_rx2 = -97.50, rsrp_rx3 = -98.50\n"
    "rsrq_rx0 = -10.00, rsrq_rx1 = -11.00, rsrq_rx2 = -12.00, rsrq_rx3 = -13.00\n"
    "rssi_rx0 = -65.00, rssi_rx1 = -66.00, rssi_rx2 = -70.00, rssi_rx3 = -71.00\n"
    "snr_rx0 = 10.00, snr_rx1 = 5.00, snr_rx2 = 0.00, snr_rx3 = -5.00\n"
    "avg_rsrp = -92.50, avg_rsrq = -10.00, max_rssi = -65.00\n";

const packet packets[] = {
    // Two samples, one LCG3 entry each, of which one reports nothing.
    {0xB064,
     "0101434a 08022c0002 01000200143c61000139000203 05 3d23231fc0 01000000843c61000100000203 05 "
     "3d3a03e331 00",
     "LTE FSSR: version_sub = 2, num_samples = 2\n"
     "------ count_tb = 0, grant = 97, hdr_len = 5\n"
     "------ count_tb = 1, grant = 97, hdr_len = 5\n"
     "version = 1, phr_ind = 49, bsr_lcg3_avg = 1063, bsr_lcg3_num = 2, bsr_lcg3_bytes = 2127\n",
     "114:013100270400000200 4f080000"},
    {0xB064, "0101d0fd 0801180001 0500c70a8d000200000203 07 3a3d23020307de",
     "LTE FSSR: version_sub = 1, num_samples = 1\n"
     "------ count_tb = 0, grant = 141, hdr_len = 7\n"
     "version = 1, phr_ind = 7, bsr_lcg3_avg = 967, bsr_lcg3_num = 1, bsr_lcg3_bytes = 967\n",
     "114:010700c70300000100c7030000"},
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
    {0xB064, "01010000 0803250001 00*13 11 323334353b3f1a ff*9 05",
     "LTE FSSR: version_sub = 3, num_samples = 1\n"
     "------ count_tb = 0, grant = 0, hdr_len = 17\n"
     "version = 1, phr_ind = 5, bsr_lcg3_avg = 0, bsr_lcg3_num = 0, bsr_lcg3_bytes = 0\n",
     "114:01 0500 00000000 0000 00000000"},

    {0xB0C2, "032101d0030000204a000019190c506300fba402000000360103040101",
     "version = 3, mcc = 310, mnc_num 3, mnc 260, tac 42235, cgi 6508556, pci 289\n"
     "freq_band_ind = 2, dl_earfcn = 976, dl_bw 25, ul_earfcn 18976, ul_bw 25, allow_access 1\n",
     "129:033601030401fba40c506300210102000000d003000019204a00001901"},
    {0xB0C2, "028f001405644b64640074bc01d60503000000060102010000",
     "version = 2, mcc = 262, mnc_num 2, mnc 1, tac 1494, cgi 29127680, pci 143\n"
     "freq_band_ind = 3, dl_earfcn = 1300, dl_bw 100, ul_earfcn 19300, ul_bw 100, allow_access 0\n",
     "129:02060102 0100d6050074bc018f0003000000140500006464 4b00006400"},

    // Antenna 0, 1, then 0 without a level, then 2 (745) and 3 (744).
    {0xB111,
     "1505500c1e051f0500000000 40080a58c53befbb 4108f877983baeb7 4008b36b67f8ffff 4608f877989baeba "
     "4308f877988baeba",
     "version = 21, num_records = 5, rssi0_i = 755, rssi1_i = 739, rssi2_i = 745, rssi3_i = 744\n"
     "rssi0 = -67.25, rssi1 = -71.25, rssi2 = -69.75, rssi3 = -70.00\n",
     "96:1505008086c200808ec200808bc200008cc2"},
    {0xB111, "1502180000000000000000004008b36b67f8ffff4108386267f8ffff",
     "version = 21, num_records = 2, rssi0_i = 0, rssi1_i = 0, rssi2_i = 0, rssi3_i = 0\n"
     "rssi0 = -256.00, rssi1 = -256.00, rssi2 = -256.00, rssi3 = -256.00\n",
     "96:1502000080c3000080c3000080c3000080c3"},

    {0xB14E, "2a04e40449c10030bccb9b990a 00*23",
     "version = 42, rank_idx = 0, wideband_cqi_cw0 = 10\n", "84:2a000a00"},
    {0xB14E, "65c5d304c9c000308756665605 00*23",
     "version = 101, rank_idx = 1, wideband_cqi_cw0 = 6\n", "84:65010600"},
    {0xB14E, "66b0fc14ed010130ffffffffffff0f 00*12 80 00*8",
     "version = 102, rank_idx = 1, wideband_cqi_cw0 = 15\n", "84:66010f00"},
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

    {0xB16E, "190000021850f22102370019f983fc0b18b0f82104710019f93ffe0b",
     "version = 25, num_records = 2, pusch_tx_power -4, dl_path_loss 100\n", "98:1902fc64"},
    {0xB16E, "040000012c553f04498118ffa11f0000",
     "version = 4, num_records = 1, pusch_tx_power -3, dl_path_loss 98\n", "98:0401fd62"},
    {0xB16E, "050000012c553f040c498118fc877e00",
     "version = 5, num_records = 1, pusch_tx_power -3, dl_path_loss 98\n", "98:0501fd62"},
    {0xB16F,
     "180000048d6483240008040000000d008f4043031f08040000000d008f5443031f08040000000d009060c3250008"
     "040000000d00",
     "version = 24, num_records = 4, pucch_tx_power 13, dl_path_loss 129\n", "128:18040d81"},
    {0xB16F, "040000012c553f2401100300fefffd00",
     "version = 4, num_records = 1, pucch_tx_power -3, dl_path_loss 98\n", "128:0401fd62"},

    {0xB173,
     "10030000 b3361d020200 82009a05141d 82109a05141d 0000 b93603010100 83003c000903 00*8 "
     "803702010100 840028000902 00*8",
     "version = 16, num_records = 3, pdsch_mcs = 9, pdsch_rb = 2, pdsch_mod_type = 2, "
     "pdsch_rnti_type = 0, num_layers = 1\n"
     "tb_bytes = 2968, num_layers_crnti 1, tb_bytes_crnti 2968, crc_result 1\n",
     "93:10030902020001980b000001980b00000000000001"},
    {0xB173, "18010000090209020100810212000409020000000000000000000000",
     "version = 24, num_records = 1, pdsch_mcs = 4, pdsch_rb = 9, pdsch_mod_type = 2, "
     "pdsch_rnti_type = 2, num_layers = 2\n"
     "tb_bytes = 18, num_layers_crnti 0, tb_bytes_crnti 0, crc_result 1\n",
     "93:18010409020202 12000000 00 0000000000000000 01"},
    {0xB173, "24010000 050f03020100 00*6 810000000a00000302 00*19",
     "version = 36, num_records = 1, pdsch_mcs = 0, pdsch_rb = 3, pdsch_mod_type = 2, "
     "pdsch_rnti_type = 0, num_layers = 2\n"
     "tb_bytes = 10, num_layers_crnti 2, tb_bytes_crnti 10, crc_result 1\n",
     "93:24010003020002 0a000000 02 0a00000000000000 01"},
    // The second record's only block is of another RNTI: paging, CRC passed.
    {0xB173,
     "30020000 c31106020200 00*6 65b00000ed021d0604010000 35000000250217060801000000000300 "
     "050f03010100 00*6 810200000a00040302 00*19",
     "version = 48, num_records = 2, pdsch_mcs = 4, pdsch_rb = 3, pdsch_mod_type = 2, "
     "pdsch_rnti_type = 2, num_layers = 1\n"
     "tb_bytes = 1308, num_layers_crnti 2, tb_bytes_crnti 1298, crc_result 1\n",
     "93:30020403020201 1c050000 02 1205000000000000 01"},

    {0xB193,
     "010150001912600094160000951100005416000058c808002c64a412542e15004b454e00e4b454004b95524a1a"
     "69941229c94a4bb2020000faffffff300031000900000061690f00381204003f0b0200",
     "version = 1, earfcn = 5780, rx_valid = 3, pci = 405, is_srv_cell = 1, srv_cell_idx = 0, "
     "num_cells = 1\n"
     "subpacket_id = 25\n"
     "rsrp_rx0 = -95.31, rsrp_rx1 = -101.75, rsrp_rx2 = -180.00, rsrp_rx3 = -180.00\n"
     "rsrq_rx0 = -11.44, rsrq_rx1 = -12.38, rsrq_rx2 = -30.00, rsrq_rx3 = -30.00\n"
     "rssi_rx0 = -66.88, rssi_rx1 = -72.38, rssi_rx2 = -110.00, rssi_rx3 = -110.00\n"
     "snr_rx0 = 11.90, snr_rx1 = 6.10, snr_rx2 = -20.00, snr_rx3 = -20.00\n"
     "avg_rsrp = -95.31, avg_rsrq = -11.44, max_rssi = -66.88\n",
     "82:0112941600009501010300b89ebec23d0a37c18fc285c266663e410080cbc27b1446c18fc290c23333c3400"
     "00034c30000f0c10000dcc20000a0c1000034c30000f0c10000dcc20000a0c1"},
    {0xB193,
     "0101c40919136c019416000001000000b9100000de0b00005086070028c3f31edecb110072a43b00ba23470072"
     "e494533cf1e4144ed1c621b4010000070012002f0030 00*5 4c88030093220200ffd20100",
     "version = 1, earfcn = 5780, rx_valid = 3, pci = 185, is_srv_cell = 1, srv_cell_idx = 0, "
     "num_cells = 1\n"
     "subpacket_id = 25\n"
     "rsrp_rx0 = -108.88, rsrp_rx1 = -120.38, rsrp_rx2 = -180.00, rsrp_rx3 = -180.00\n"
     "rsrq_rx0 = -9.13, rsrq_rx1 = -10.25, rsrq_rx2 = -30.00, rsrq_rx3 = -30.00\n"
     "rssi_rx0 = -82.75, rssi_rx1 = -93.13, rssi_rx2 = -110.00, rssi_rx3 = -110.00\n"
     "snr_rx0 = 5.50, snr_rx1 = 3.30, snr_rx2 = -20.00, snr_rx3 = -20.00\n"
     "avg_rsrp = -108.88, avg_rsrq = -9.13, max_rssi = -82.75\n",
     "82:011394160000b9000103008fc2d9c27b1412c10080a5c20000b0408fc2f0c2000024c18f42bac2333353400"
     "00034c30000f0c10000dcc20000a0c1000034c30000f0c10000dcc20000a0c1"},
    {0xB193,
     "010174ef1916ec019c1800000100000046100000670e0000cee30700e7f13b13673e11004f0440000004000000"
     "f044004fa49452514505000044050051550628000000009501000009000e0033003500080000005c28020028d9"
     "0200eaec0100",
     "version = 1, earfcn = 6300, rx_valid = 3, pci = 70, is_srv_cell = 1, srv_cell_idx = 0, "
     "num_cells = 1\n"
     "subpacket_id = 25\n"
     "rsrp_rx0 = -111.06, rsrp_rx1 = -116.00, rsrp_rx2 = -180.00, rsrp_rx3 = -180.00\n"
     "rsrq_rx0 = -9.38, rsrq_rx1 = -8.94, rsrq_rx2 = -30.00, rsrq_rx3 = -30.00\n"
     "rssi_rx0 = -84.69, rssi_rx1 = -90.00, rssi_rx2 = -110.00, rssi_rx3 = -110.00\n"
     "snr_rx0 = 3.40, snr_rx1 = 4.60, snr_rx2 = -20.00, snr_rx3 = -20.00\n"
     "avg_rsrp = -111.06, avg_rsrq = -8.94, max_rssi = -84.69\n",
     "82:01169c1800004600010300b81edec27b1416c14861a9c29a9959400000e8c23d0a0fc10000b4c2333393400"
     "00034c30000f0c10000dcc20000a0c1000034c30000f0c10000dcc20000a0c1"},
    {0xB193,
     "010150b919240c020e06000001000f0022110000970a00009c2c02004e16b91497f618003da65a00aac55300cc"
     "d53b003dd663007ffd151881698516810516187e4b1700a22219007e030000e9fff3ff23002c000d00ff7f65bc"
     "a7037b91c200f25b0300b9d30300",
     "version = 1, earfcn = 1550, rx_valid = 15, pci = 290, is_srv_cell = 1, srv_cell_idx = 0, "
     "num_cells = 1\n"
     "subpacket_id = 25\n"
     "rsrp_rx0 = -80.19, rsrp_rx1 = -89.38, rsrp_rx2 = -96.25, rsrp_rx3 = -87.25\n"
     "rsrq_rx0 = -6.06, rsrq_rx1 = -5.94, rsrq_rx2 = -8.38, rsrq_rx3 = -7.50\n"
     "rssi_rx0 = -54.13, rssi_rx1 = -63.44, rssi_rx2 = -67.88, rssi_rx3 = -59.75\n"
     "snr_rx0 = 29.80, snr_rx1 = 22.90, snr_rx2 = 24.10, snr_rx3 = 28.90\n"
     "avg_rsrp = -80.19, avg_rsrq = -5.94, max_rssi = -54.13\n",
     "82:01240e0600002201010f004861a0c285ebc1c01f8558c26666ee418fc2b2c27b14bec08fc27dc23333b7410"
     "080c0c27b1406c18fc287c2cdccc0410080aec20000f0c000006fc23333e741"},
    {0xB193,
     "0101e4a419302801a4050000020003000001ffff5e120000ed070000f2150500f98a6a1fed9f1200a8e4430039"
     "0400006009960000702200a7844a001861640ff6000000186154111fc20e 00*5 1f02000005000a 00*5 2c00"
     "36 00*7 68186b0d0a002ee806002d3902 00*5",
     "version = 1, earfcn = 1444, rx_valid = 3, pci = 94, is_srv_cell = 1, srv_cell_idx = 1, "
     "num_cells = 2\n"
     "subpacket_id = 25\n"
     "rsrp_rx0 = -105.56, rsrp_rx1 = -112.13, rsrp_rx2 = -180.00, rsrp_rx3 = -180.00\n"
     "rsrq_rx0 = -12.50, rsrq_rx1 = -14.63, rsrq_rx2 = -30.00, rsrq_rx3 = -30.00\n"
     "rssi_rx0 = -76.06, rssi_rx1 = -80.50, rssi_rx2 = -110.00, rssi_rx3 = -110.00\n"
     "snr_rx0 = 10.10, snr_rx1 = 8.49, snr_rx2 = -20.00, snr_rx3 = -20.00\n"
     "avg_rsrp = -105.56, avg_rsrq = -12.50, max_rssi = -76.06\n",
     "108:0130a40500005e00010300b81ed3c2000048c1b81e98c29a9921418f42e0c27b146ac10000a1c20ad70741"
     "000034c30000f0c10000dcc20000a0c1000034c30000f0c10000dcc20000a0c1"},
    {0xB193,
     "01010000190450003a077b02 00*9 e015000080560000805700000014003001001400400b58d002 00*22 2cf"
     "501000000",
     two_antennas,
     "108:01043a0700007b000103000000b9c2000020c1000082c2000020410000bbc2000030c1000084c20000a040"
     "000034c30000f0c10000dcc20000a0c1000034c30000f0c10000dcc20000a0c1"},
    {0xB193,
     "01010000190754003a0700007b02 00*11 e015000080560000805700000014003001001400400b58d002 "
     "00*22 2cf50100",
     two_antennas,
     "108:01073a0700007b000103000000b9c2000020c1000082c2000020410000bbc2000030c1000084c20000a040"
     "000034c30000f0c10000dcc20000a0c1000034c30000f0c10000dcc20000a0c1"},
    {0xB193,
     "01010000191868003a070000010000007b12 00*15 c02b000080560000805700000014003001001400400b58d"
     "002 00*22 2cf50100",
     two_antennas,
     "108:01183a0700007b000103000000b9c2000020c1000082c2000020410000bbc2000030c1000084c20000a040"
     "000034c30000f0c10000dcc20000a0c1000034c30000f0c10000dcc20000a0c1"},
    {0xB193,
     "01010000192388003a070000010000007b12 00*15 e01500008056000080520018852f 00*5 4001001300800"
     "41140010000d002160080821300d002 00*22 2cf50100c82c0100",
     four_antennas,
     "108:01233a0700007b00010f000000b9c2000020c1000082c2000020410000bbc2000030c1000084c20000a040"
     "0000c3c2000040c100008cc2000000000000c5c2000050c100008ec20000a0c0"},
    {0xB193,
     "01010000192890003a07000001000f007b12 00*15 e0150000805600008052 00*5 18852f 00*5 400100130"
     "080041140010000d002160080821300d002 00*22 2cf50100c82c0100",
     four_antennas,
     "108:01283a0700007b00010f000000b9c2000020c1000082c2000020410000bbc2000030c1000084c20000a040"
     "0000c3c2000040c100008cc2000000000000c5c2000050c100008ec20000a0c0"},
    {0xB193,
     "01010000193094003a07000001000f00 0000ffff 7b12 00*15 e0150000805600008052 00*5 18852f 00*5 "
     "400100130080041140010000d002160080821300d002 00*30 2cf50100c82c0100",
     four_antennas,
     "108:01303a0700007b00010f000000b9c2000020c1000082c2000020410000bbc2000030c1000084c20000a040"
     "0000c3c2000040c100008cc2000000000000c5c2000050c100008ec20000a0c0"},
};

std::string without_blanks(std::string text) {
  std::erase(text, ' ');
  return text;
}

TEST(lte_decoders, packets_of_every_version) {
  for (const auto& one : packets) {
    const auto made = decoded::log(one.code, one.payload);
    EXPECT_EQ(made.lines, one.lines) << one.payload;
    EXPECT_EQ(made.records, records{without_blanks(one.record)}) << one.payload;
  }
}

TEST(lte_decoders, packet_cut_anywhere_makes_its_record_or_tells_what_is_missing) {
  for (const auto& one : packets) {
    for (std::size_t length = support::hex(one.payload).size(); length-- > 0;) {
      const auto made = decoded::cut(one.code, one.payload, length);
      if (made.lines == one.lines) {
        EXPECT_EQ(made.records, records{without_blanks(one.record)});
      } else {
        EXPECT_NE(made.lines.find("g_pk_data_left("), std::string::npos) << made.lines;
        EXPECT_TRUE(made.records.empty()) << length << " bytes of " << one.payload;
      }
    }
  }
}

TEST(lte_srv_meas, serving_cell_need_not_be_the_first) {
  const struct {
    unsigned version, cells, stride;
  } rows[] = {{19, 8, 88},  {22, 8, 120}, {24, 8, 92},  {35, 8, 124},
              {36, 8, 128}, {40, 8, 132}, {48, 12, 140}};
  std::size_t tried = 0;
  for (const auto& one : packets) {
    auto payload = support::hex(one.payload);
    for (const auto& row : rows) {
      if (one.code != 0xB193 || payload[5] != row.version) continue;
      payload[12] = 2;  // cells
      payload.insert(payload.begin() + 8 + row.cells, row.stride, 0);
      std::string lines = one.lines;
      lines.replace(lines.find("num_cells = ") + 12, 1, "2");
      const auto made = decoded::log(one.code, payload);
      EXPECT_EQ(made.lines, lines);
      EXPECT_EQ(made.records, records{one.record});
      ++tried;
    }
  }
  EXPECT_EQ(tried, 8U);

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
      {"22010000 461f14020100 c300dc0512140600 00*10", "2201 121406"},
      {"25010000 461f14020100 00*6 c3000000dc05121406 00*19", "2501 121406"},
      {"28010000 461f14020100 00*6 c3000000dc05121406 00*19", "2801 121406"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(decoded::log(0xB173, row.payload).records,
              records{without_blanks(std::string("93:") + row.record +
                                     "0002 dc050000 02 dc05000000000000 01")})
        << row.payload;
  }
}

TEST(lte_decoders, what_is_refused) {
  constexpr const char* unsupported = "VERSION_NOT_SUPPORT, version(9), not_support_num(1), name(";
  const struct {
    std::uint16_t code;
    const char *payload, *line;  // how the last one begins
  } rows[] = {
      {0xB062, "09", unsupported},
      {0xB062, "01010000 0604", "VERSION_NOT_SUPPORT, version(4)"},
      {0xB064, "09", unsupported},
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
      {0xB0C2, "09", unsupported},
      {0xB0C2, "02f801 00*22", "DATA_IS_NOT_VALID(504), name(pci)"},
      {0xB111, "09", unsupported},
      {0xB111, "15e0", "DATA_IS_NOT_VALID(0), name(num_records)"},
      {0xB111, "1515", "Cur(21) reached max(20), for num_records"},
      {0xB14E, "09", unsupported},
      {0xB14E, "65c5d310c9c0", "DATA_IS_NOT_VALID(4), name(rank_idx)"},
      {0xB16D, "2f", "VERSION_NOT_SUPPORT, version(47)"},
      {0xB16D, "32", "VERSION_NOT_SUPPORT, version(50)"},
      {0xB16D, "30ffff00", "DATA_IS_NOT_VALID(0), name(num)"},
      {0xB16D, "31ffff15", "Cur(21) reached max(20), for num"},
      {0xB16E, "18", "VERSION_NOT_SUPPORT, version(24)"},
      {0xB16E, "19000000", "DATA_IS_NOT_VALID(0), name(num_records)"},
      {0xB16E, "19000033", "Cur(51) reached max(50), for num_records"},
      {0xB16F, "19", "VERSION_NOT_SUPPORT, version(25)"},
      {0xB173, "09", unsupported},
      {0xB173, "1000", "DATA_IS_NOT_VALID(0), name(num_records)"},
      {0xB173, "101a", "Cur(26) reached max(25), for num_records"},
      {0xB173, "10010000 0000000003", "Cur(3) reached max(2), for num_tb"},
      {0xB193, "09", unsupported},
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
  for (const auto& row : rows) {
    const auto made = decoded::log(row.code, row.payload);
    const auto last = made.lines.rfind('\n', made.lines.size() - 2) + 1;
    EXPECT_EQ(made.lines.find(row.line, last), last) << row.line << "\n" << made.lines;
    EXPECT_TRUE(made.records.empty()) << row.line;
  }
}

}  // namespace
