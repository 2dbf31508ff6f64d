// NR5G ML1 and LL1 logs: packets of every supported version, and each check reached once.
#include "support/decoder_rows.h"

namespace {

using namespace modem_stats;
using namespace support;

const std::string agc_head = "01000000 39040808";
const std::string four_chains =
    "0f000000 0200200e 00*28 0200140e 00*28 0200fe0d 00*28 0200cf0d 00*28 fe040000";
const std::string two_chains = "03000000 0200200e 00*28 0200140e 00*28";

TEST(nr5g_ml1_ll1, receive_agc) {
  const decoder_row rows[] = {
      {0xB8C9, "00000200 00*8 fc980000 04900000" + agc_head + four_chains,
       "version = 131072, version_agc_sub = 1, rssi0_i = 3616, rssi1_i = 3604, rssi2_i = 3582, "
       "rssi3_i = 3535\n"
       "rssi0 = -60.00, rssi1 = -61.50, rssi2 = -64.25, rssi3 = -70.13\n",
       "94:00000200000070c2000076c2008080c28f428cc2"},
      {0xB8C9,
       "00000300 00*8 04500000" + agc_head + two_chains,  // no container
       "version = 196608, version_agc_sub = 1, rssi0_i = 3616, rssi1_i = 3604, rssi2_i = 0, "
       "rssi3_i = 0\n"
       "rssi0 = -60.00, rssi1 = -61.50, rssi2 = -512.00, rssi3 = -512.00\n",
       "94:00000300000070c2000076c2000000c4000000c4"},
      {0xB8C9, "01000300 00*8 fc580000 05500000" + agc_head + two_chains,
       "version = 196609, version_agc_sub = 1, code = 5, only support code - 4\n"},
      {0xB8C9, "01000300 00*8 fcb80000 04b00000" + agc_head + four_chains,
       "Cur(5) reached max(4), for agc_rx, id(0xb8c9)\n"},
      {0xB8C9, "00000300 00*8 04500000" + agc_head + "00*38", missing("rssi1_i_tmp", 0, "b8c9")},
  };
  expect_decoded(rows);
}

TEST(nr5g_ml1_ll1, transmit_power) {
  const std::string none = "version = 131072, tx info not required, do nothing\n";
  const decoder_row rows[] = {
      {0xB8D2,
       "00000200 00*8 fc440000 063c0000 02000000 49403f00 0000e2ff2000150000000500daff0000 "
       "1000e1ff20001700feff0500daff0000 2000e4ff2000170000000000daff0000 fe040000",
       "version = 131072, version_power = 2, loop_num = 3, pusch_tx = -30, pusch_path_loss = 32, "
       "pusch_mtpl = 21\n"
       "pucch_tx = -31, pucch_path_loss = 32, pucch_mtpl = 23, srs_tx = -28, srs_path_loss = 32, "
       "srs_mtpl = 23\n"
       "prach_tx = 32767, prach_path_loss = 32767, prach_mtpl = 32767\n",
       "99:000002000203e2ff20001500e1ff20001700e4ff20001700ff7fff7fff7f"},
      // Two of one channel, between them one of an unknown channel.
      {0xB8D2,
       "00000300 00*8 fc440000 063c0000 01000000 00003000 3000e7ff1e001700 00*8 "
       "5000010002000300 00*8 3000ebff1f001600 00*8",
       "version = 196608, version_power = 1, loop_num = 3, pusch_tx = 32767, "
       "pusch_path_loss = 32767, pusch_mtpl = 32767\n"
       "pucch_tx = 32767, pucch_path_loss = 32767, pucch_mtpl = 32767, srs_tx = 32767, "
       "srs_path_loss = 32767, srs_mtpl = 32767\n"
       "prach_tx = -21, prach_path_loss = 31, prach_mtpl = 22\n",
       "99:000003000103ff7fff7fff7fff7fff7fff7fff7fff7fff7febff1f001600"},
      {0xB8D2, "00000200 00*8 fc080000 fd040000", none},
      {0xB8D2, "00000200 00*8 fc080000 fe040000", none},
      {0xB8D2, "00000200 00*8 fc100000 060c0000 02000000 49400f00", none},
      {0xB8D2, "00000200 00*8 fc100000 060c0000 02000000 49409f00",
       "Cur(9) reached max(8), for loop_num, id(0xb8d2)\n"},
  };
  expect_decoded(rows);
}

TEST(nr5g_ml1_ll1, snr_beam_actions_and_antennas) {
  const decoder_row rows[] = {
      {0xB8D8, "02000300d003af0000000000a35e0000c8230100992900003b240000",
       "version = 196610, snr0 = 24227, snr1 = 74696, snr2 = 10649, snr3 = 9275\n"
       "snr0_f = 13.74, snr1_f = 18.63, snr2_f = 10.17, snr3_f = 9.57\n",
       "137:020003000ad75b413d0a954152b82241b81e1941"},
      {0xB8DD, "07000000d00faf00 00*68 aa5e0000c22301009929000000000000 e0ca0900 00*16",
       "version = 7, snr0 = 13.74, snr1 = 18.63, snr2 = 10.17, snr3 = 65535.00\n",
       "112:070000000ad75b413d0a954152b8224100ff7f47"},
      {0xB975,
       "01000200c60200001410000017caffff0afaffff00000000000000002600000000000000010000000100000017"
       "caffff0afaffff00000000",
       "version = 131073, rsrp_i = -13801, rsrq_i = -1526, rsrp = -107.82, rsrq = -11.92\n",
       "91:01000200d7a3d7c252b83ec1"},
      {0xB981, "00000200010202000100010002010200",
       "version = 131072, state_last = 1, state_current = 2, num_action = 2, action_type = 2, "
       "level_last = 1, level_current = 2\n",
       "145:00000200010202020102"},
      {0xB981, "0000020003040000",
       "version = 131072, state_last = 3, state_current = 4, num_action = 0, action_type = 255, "
       "level_last = 255, level_current = 255\n",
       "145:00000200030400ffffff"},
      {0xB981, "0000020001020900 00*36", "Cur(9) reached max(8), for num_action, id(0xb981)\n"},
      {0xB98F,
       "020002002c150101 00*4 2c190001 00*12 11 00*25 0101 00*20 010001 00*21 02000002 00*20 "
       "03000003 00*22 0101 00*20 ff0000ff",
       "version = 131074, ant_rx_0_old = 0, ant_rx_0_new = 1, ant_rx_1_old = 1, ant_rx_1_new = 0, "
       "ant_rx_2_old = 2, ant_rx_2_new = 2\n"
       "ant_rx_3_old = 3, ant_rx_3_new = 3, ant_tx_0_old = 0, ant_tx_0_new = 1, "
       "ant_tx_1_old = 255, ant_tx_1_new = 255\n",
       "113:0200020000010100020203030001ffff"},
  };
  expect_decoded(rows);
}

// The measurement database log. The captured packet of 2.9: header, frequency of the layer, and the
// rest of the layer from its carrier on.
const std::string head_2_9 = "09000200 0000d309 01140000 2707000000000000";
const std::string frequency = " 5e630200";
const std::string layer_2_9 =
    "0162030003 00*10 ffffffffffff0000ffffffff 62033a010100000047d0ffffa9faffff03 00*11 "
    "c93eaab40d9bd100d6c8ffff10d1ffff47d0ffffa9faffff 00*8";
const std::string levels_2_9 =
    "rsrp0 = -110.33, rsrp1 = -93.88, rsrp2 = 65535.00, rsrp3 = 65535.00, rsrq = -10.68\n";
const std::string bytes_2_9 = "0900020000a8dcc200c0bbc200ff7f4700ff7f4748e12ac1";

std::string lines_of_layer_2_9(const std::string& number, const std::string& carrier) {
  return "layer[" + number + "]: cc_id = " + carrier +
         ", num_cells = 1, srv_pci = 866, rsrp_i2 = 0, rsrp_i3 = 0\n"
         "cell[" +
         number +
         "][0]: pci_1 = 866, num_beams = 1, rsrq_i = -1367\n"
         "beam[" +
         number + "][0][0]: rsrp_i0 = -14122, rsrp_i1 = -12016\n";
}

TEST(nr5g_ml1_ll1, measurement_database_of_several_carriers) {
  expect_decoded({0xB97F,
                  "09000200 0000d309 03140000 2707000000000000" + frequency + "00" + layer_2_9 +
                      frequency + "02" + layer_2_9 + frequency + "03" + layer_2_9,
                  "version = 131081, num_layers = 3\n" + lines_of_layer_2_9("0", "0") +
                      lines_of_layer_2_9("1", "2") + lines_of_layer_2_9("2", "3") +
                      "pk[0]: " + levels_2_9 + "pk[1]: " + levels_2_9 + "pk[2]: " + levels_2_9,
                  "135:" + bytes_2_9 + " 7:" + bytes_2_9});
}

// Constructed: the same layer twice, so that every structure's size counts.
TEST(nr5g_ml1_ll1, measurement_database_of_every_stride) {
  const std::string cell = " c6027e000100000017caffff0afaffff";
  const std::string beam = "03 00*19 a3bcffff00000000";
  const std::string l3_words = "17caffff000000000afaffff00000000";
  const std::string quad = "ccc7ffffe8c7ffff";
  const std::string early = "9910060001 00 c60203000000" + quad + "ffffffff";
  const std::string late = "991006000001c60200030000" + quad;
  const struct {
    std::string version, header, layer, beam;
    bool has_carrier;
  } rows[] = {
      {"04000200", " 02000000", early + "00*4", beam + "17caffff0afaffff" + l3_words, false},
      {"05000200", "02000000", early + "00*8", beam + "17caffff0afaffff" + l3_words, false},
      {"06000200", "02140000", early + "00*8", beam + "17caffff0afaffff 00*8", false},
      {"07000200", "02140000 00*8", early + "00*8", beam + "17caffff0afaffff 00*8", false},
      {"0a000200", " 00*4 02140000 00*8", late + "ffffffff 00*8",
       beam + "0afaffff 00*36 17caffff0afaffff 00*8", true},
      {"00000300", " 00*4 02140000 00*8", late + "00*8 ffffffff 00*8",
       beam + "0afaffff 00*36 17caffff0afaffff 00*8", true},
  };
  const std::string levels = "00ba06c300ff7f4700d0e0c20060e0c252b83ec1";
  for (const auto& row : rows) {
    const auto layer = " " + row.layer + cell + row.beam;
    const auto got = decoded::log(0xB97F, row.version + row.header + layer + layer);
    const std::string second = row.has_carrier ? "135:" : "6:";  // as numbered where not told
    EXPECT_EQ(got.records,
              (std::vector{"135:" + row.version + levels, second + row.version + levels}));
  }
}

TEST(nr5g_ml1_ll1, measurement_database_that_is_not_reported) {
  const std::string one_layer = "version = 131081, num_layers = 1\n";
  const std::string layer_line = ", srv_pci = 866, rsrp_i2 = 0, rsrp_i3 = 0\n";
  const std::string rest = " 00*10 ffffffffffff0000ffffffff";
  const decoder_row rows[] = {
      {0xB97F, head_2_9 + frequency, one_layer + missing("cc_id_tmp", 0, "b97f")},
      {0xB97F, head_2_9 + frequency + "ff01ffffff0f" + rest + " 6203 00*14",
       one_layer +
           "layer[0]: cc_id = 255, num_cells = 1, srv_pci = 65535, rsrp_i2 = 0, rsrp_i3 = 0\n"
           "cell[0][0]: pci_1 = 866, num_beams = 0, rsrq_i = 0\n"},
      // The first of two matching cells has no beams.
      {0xB97F, head_2_9 + frequency + "00 0262030003" + rest + " 6203 00*14 6203000001 00*55",
       one_layer + "layer[0]: cc_id = 0, num_cells = 2" + layer_line +
           "cell[0][0]: pci_1 = 866, num_beams = 0, rsrq_i = 0\n"
           "cell[0][1]: pci_1 = 866, num_beams = 1, rsrq_i = 0\n"
           "beam[0][1][0]: rsrp_i0 = 0, rsrp_i1 = 0\n"},
      {0xB97F, "09000200 0000d309 09140000 2707000000000000",
       "version = 131081, num_layers = 9\nCur(9) reached max(8), for num_layers, id(0xb97f)\n"},
      {0xB97F, head_2_9 + frequency + "00 1562030003" + rest,
       one_layer + "layer[0]: cc_id = 0, num_cells = 21" + layer_line +
           "Cur(21) reached max(20), for num_cells, id(0xb97f)\n"},
      {0xB97F, head_2_9 + frequency + "00 0162030003" + rest + " 6203000011 00*11",
       one_layer + "layer[0]: cc_id = 0, num_cells = 1" + layer_line +
           "cell[0][0]: pci_1 = 866, num_beams = 17, rsrq_i = 0\n"
           "Cur(17) reached max(16), for num_beams, id(0xb97f)\n"},
  };
  expect_decoded(rows);
}

}  // namespace
