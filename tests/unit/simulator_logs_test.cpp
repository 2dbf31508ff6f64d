// What the modem logs, whole: other decoders read fields that ours skips.
#include <algorithm>

#include "simulator/diag/scenario.h"
#include "simulator/diag/signalling.h"
#include "support/test.h"

namespace {

using namespace support;

TEST(simulator_logs, every_field_has_its_value) {
  // The radio as it is at first, each log's fourth packet. Antennas after the first lose 1.5, 4.25
  // and 6.5 dB of strength and 0.5, 1.25 and 2 dB of quality.
  const std::pair<std::uint16_t, bytes> rows[] = {
      // PCI 143, EARFCN 1300 and 19300, 20 MHz, cell, area, band 3, 001 01.
      {0xB0C2, hex("03 8F00 14050000 644B0000 64 64 0074BC01 D605 03000000 0100 02 0100 01")},
      // Frame 150. RSRP 1360 1336 1292 1256, each of the first two again with its neighbour, then
      // combined (720, 640 lower) and filtered; RSRQ 320 312 300 288; RSSI 720 704 672 648; SNR 350
      // 340 325 310; projected SIR 240; CINR 3840 3584 3200 2816.
      {0xB193, hex("01 01 0000 19 24 0C02  14050000 0100 0F00"
                   "8F100000 96000000 00*8 96401500 50855300 38C55000 E8042D00 50055500"
                   "40018513 38B10412 40010514 D0021600 A0421400 D0020000 00*20 "
                   "5EA90200 456D0200 00*8 F0000000 40010000 000F0000 000E0000 800C0000 000B0000"
                   "00*8 00*384")},
      // Frame 90, sub-frame 3: 20 blocks, two layers, one transport block of 1338 bytes, MCS 24.
      {0xB173, hex("18 01 0000 A305 14 02 01 00  83 00 3A05 18 14 06 00  00*8 0000")},
      // Frame 150, sub-frame 3, HARQ 3: 57 bytes, a short BSR of group 3 and 3 dB of headroom.
      {0xB064, hex("01 01 0000 08 02 1800 01  01 00 03 00 6309 3900 01 0000 01 03 05"
                   "3D 3A 03 C3 1A")},
      // ARFCN 431070, PCI 710, frame 300; -100 and -101.5 dBm, -11 dB.
      {0xB97F, hex("07000200 01 14 0000 00*8  DE930600 01 00 C602 00*12 FFFFFFFF 00*4 FFFFFFFF "
                   "C602 2C01 01000000 00CEFFFF 80FAFFFF"
                   "00*20 00CEFFFF 40CDFFFF 00CEFFFF 80FAFFFF 00CEFFFF 80FAFFFF")},
      // -75 and -76.5 dBm in tenths above -106, from -512 on; UARFCN 10663; one task, code 397.
      {0x4179, hex("05 0001 36FF 27FF 0002 0002 00FE 00FE 00 A729 FF*6 0000 01 0401"
                   "23 00 00 0000 D018 0000 0000 00*11 "
                   "5C510300 AC4F0300 F8520300 24510300 18500300 00500300"
                   "78000000 78000000 74000000 71000000 70000000 6E000000")},
      // ARFCN 80; -70 and -71.5 dBm * 16.
      {0x5096, hex("01 00 5020 A0FB 88FB")},
  };
  for (const auto& [code, payload] : rows) {
    const bytes got = sim::diag::log_payload(code, sim::radio_values(), 3);
    EXPECT_TRUE(got == payload) << std::hex << code << " differs at byte " << std::dec
                                << std::ranges::mismatch(got, payload).in1 - got.begin();
  }
  // Of the blocks, every tenth fails: without the bit 0x80 beside its HARQ.
  EXPECT_EQ(sim::diag::log_payload(0xB173, sim::radio_values(), 9)[10], 0x01);
}

// The first connection that is seen from its beginning is an attach, the next one is not. Header of
// 21 bytes: version 26, PCI 143, EARFCN 1300, no time on the uplink, channel 10.
TEST(simulator_logs, signalling_follows_the_connection) {
  using sim::lte_rrc_state;
  sim::diag::signalling modem;
  sim::radio_values seen;
  int at = 0;
  const auto logs_in = [&](lte_rrc_state state) {
    seen.rrc = state;
    return modem.logs_at(std::chrono::milliseconds(at += 100), seen);
  };
  const bytes header = hex("1A 0F10 0F10 00 8F00 14050000 0000 0A 00*4 0600");
  EXPECT_TRUE(logs_in(lte_rrc_state::idle_camped).empty());
  auto logs = logs_in(lte_rrc_state::connecting);
  ASSERT_EQ(logs.size(), 3U);
  EXPECT_EQ(logs[0].payload, hex("01 090500 0201D031"));
  EXPECT_EQ(logs[1].payload, hex("01 090500 074171 080910101032547698 02E0E0 0004 0201D031"));
  // 0 1 0 1, the random value, cause 3, 0.
  EXPECT_EQ(logs[2].payload, header + hex("55A17C3B2F46"));
  for (const auto state :
       {lte_rrc_state::connected, lte_rrc_state::closing, lte_rrc_state::idle_camped}) {
    static_cast<void>(logs_in(state));
  }
  logs = logs_in(lte_rrc_state::connecting);
  ASSERT_EQ(logs.size(), 3U);
  EXPECT_EQ(logs[1].payload, hex("01 090500 C703 5A03"));
  EXPECT_EQ(logs[2].payload, header + hex("401C0A812344"));
}

// 9.2 s into the connection, which begins 2.8 s after the radio was turned on and every 20 s.
TEST(simulator_logs, handovers_go_to_and_fro_between_two_cells) {
  sim::radio radio;
  radio.means.neighbour_pci = 287;
  for (const auto& [time, pci] : {std::pair(11999, 143), {12000, 287}, {31999, 287}, {32000, 143}})
    EXPECT_EQ(radio.at(sim::radio::time(time)).lte.pci, pci) << time;
}

}  // namespace
