// Signalling messages: where each version of each log has them, what is refused, how parts are
// joined, and the file that Wireshark reads, to the byte.
#include <set>
#include <utility>

#include "decode/signalling/reader.h"
#include "decode/summary/report.h"
#include "support/decode_in_memory.h"
#include "support/decode_run.h"

namespace {

using decode::signalling::direction;
using modem_stats::rejection;
using namespace support;

std::string text_of(const decode::signalling::reading& now) {
  if (!now.found) return "nothing";
  const auto& one = *now.found;
  std::string text(decode::signalling::name_of(one.what));
  text += one.way == direction::up ? " up" : one.way == direction::down ? " down" : "";
  if (one.channel) text += " " + std::to_string(*one.channel);
  if (one.cell) text += "/" + std::to_string(*one.cell);
  if (one.frame) text += " " + std::to_string(*one.frame);
  if (one.subframe) text += "." + std::to_string(*one.subframe);
  return text + ": " + digits_of(one.bytes);
}

std::string read(std::uint16_t code, const bytes& payload) {
  decode::signalling::open_messages open;
  decode::signalling::reader reader(open);
  return text_of(reader.read(code, 1, payload));
}

rejection refusal(std::uint16_t code, const bytes& payload) {
  decode::signalling::open_messages open;
  decode::signalling::reader reader(open);
  const auto now = reader.read(code, 1, payload);
  EXPECT_FALSE(now.found) << std::hex << code;
  return now.outcome.rejected;
}

struct row {
  std::uint16_t code;
  const char* payload;
  const char* message;
};

// EARFCN 5780 or 66486 and PCI 405, frame 552, sub-frame 5; NR-ARFCN 431070 and PCI 710.
const row rows[] = {
    {0xB0C0, "02 0904 01 9501 9416 8562 04 0200 4001", "lte-rrc.pcch down 5780/405 552.5: 4001"},
    {0xB0C0, "07 0904 01 9501 9416 8562 08 00*4 0100 10", "lte-rrc.ul.dcch up 5780/405: 10"},
    {0xB0C0, "09 0904 01 9501 B6030100 8562 09 00*4 0100 68",
     "lte-rrc.bcch.dl.sch down 66486/405 552.5: 68"},
    {0xB0C0, "0F 0904 01 9501 B6030100 85E2 2B 00*4 0100 68",
     "lte-rrc.dl.ccch.nb down 66486/405 552.5: 68"},
    {0xB0C0, "14 0904 01 9501 B6030100 0000 3D 00*4 0100 68",
     "lte-rrc.ul.dcch.nb up 66486/405: 68"},
    {0xB0C0, "1A 0F10 0F10 01 9501 B6030100 8562 09 00*4 0200 2028",
     "lte-rrc.dl.dcch down 66486/405 552.5: 2028"},
    {0xB0C0, "1E 0F10 0F10 01 9501 B6030100 8562 0A 00*4 0100 00 00 00 41",
     "lte-rrc.ul.ccch up 66486/405: 41"},
    {0xB197, "01 64 2802 9416 00*18 0000 4CA9 0000 0000", "lte-rrc.bcch.bch down 5780 552: a94c00"},
    {0xB197, "02 64 2802 B6030100 95010000 00*16 00004CA9 0000 0000",
     "lte-rrc.bcch.bch down 66486/405 552: a94c00"},
    {0xB0EB, "01 090500 47 01020304 00 075E", "nas-eps up: 470102030400075e"},
    {0xB0E2, "01 090500 5201C1", "nas-eps_plain down: 5201c1"},
    {0xB821, "08000000 0F60 FF C602 DE930600 18002802 01 00*4 0300 040506",
     "nr-rrc.bcch.bch down 431070/710 552.3: 040506"},
    {0xB821, "08000000 0F60 FF 0000 00000000 00000000 0A 00*4 0200 01FF",
     "nr-rrc.ul.dcch up: 080ff8"},
    {0xB821, "0E000000 0F60 FF C602 DE930600 000000 21 00*4 0100 04",
     "nr-rrc.ue_nr_cap up 431070/710: 04"},
    {0xB821, "11000000 0F60 FF C602 00*8 DE930600 000000 09 00*4 0100 04",
     "nr-rrc.rrc_reconf down 431070/710: 04"},
    {0xB821, "14000000 0F60 FF C602 00*8 DE930600 000000 05 00*4 0100 00 04",
     "nr-rrc.mcch down 431070/710: 04"},
    {0xB821, "1C000000 0F60 FF FFFF 00*8 FFFFFFFF 000000 0A 00*4 0100 00*3 00 04",
     "nr-rrc.ul.dcch up: 04"},
    {0xB814, "01000000 0F1000 7E0041", "nas-5gs: 7e0041"},
    {0xB809, "01000000 0F1000 7E0041", "nas-5gs up: 7e0041"},
    {0x412F, "01 02 0100 05", "rrc.ul.dcch up: 05"},
    {0x412F, "84 00 0100 A729 3201 05", "rrc.bcch.bch down 10663/306: 05"},
    {0x412F, "FE 00 0200 1F 05", "rrc.si.sib11bis down: 05"},
    {0x412F, "F0 00 0200 A729 3201 1F 05", "rrc.si.sib19 down 10663/306: 05"},
    {0x713A, "01 02000000 0524", "gsm_a_dtap up: 0524"},
    {0x7B3A, "02 00 02000000 0524", "gsm_a_dtap down: 0524"},
    {0x512F, "81 1B 03 15 061B", "gsm.bcch down: 15061b"},
    {0x5B2F, "02 04 15 02 0615", "gsm_a_dtap up: 0615"},
    {0x5226, "83 01 02 4A00 2B2B", "gsm.pacch down: 404a00"},
    {0x5230, "01 02 0200 0802 00*250", "gsm_a_dtap down: 0802"},
    {0x156E, "01 01 00 03 0300 0400 0600 0000 FF000000 614000 42594500", "sip up: 425945"},
};

TEST(signalling, each_layout_and_numbering_is_read) {
  for (const auto& each : rows) {
    EXPECT_EQ(read(each.code, hex(each.payload)), each.message) << each.payload;
  }
}

TEST(signalling, length_that_disagrees_with_the_packet_is_refused) {
  const std::set<std::uint16_t> with_length = {0x156E, 0x412F, 0x512F, 0x5B2F,
                                               0x713A, 0x7B3A, 0xB0C0, 0xB821};
  for (const auto& each : rows) {
    if (!with_length.contains(each.code)) continue;
    auto payload = hex(each.payload);
    EXPECT_EQ(refusal(each.code, payload + hex("00")), rejection::value) << each.payload;
    while (!payload.empty()) {
      payload.pop_back();
      EXPECT_NE(refusal(each.code, payload), rejection::none) << each.payload << payload.size();
    }
  }
}

TEST(signalling, what_is_unknown_empty_or_out_of_range_is_refused) {
  const struct {
    std::uint16_t code;
    const char* payload;
    rejection why;
  } refused[] = {
      {0xB0C0, "05 0904 01 9501 9416 8562 04 00*4 0200 4001", rejection::version},
      {0xB0C0, "02 0904 01 9501 9416 8562 09 0200 4001", rejection::value},  // channel
      {0xB0C0, "02 0904 01 9501 9416 8562 04 0000", rejection::value},
      {0xB0C0, "02 0904 01 9501 9416 8562 04 0300 4001", rejection::length},
      {0xB0C0, "09 0904 01 9501 00000400 8562 09 00*4 0100 68", rejection::value},  // EARFCN
      {0xB0C0, "1E 0F10 0F10 01 9501 B6030100 8562 0A 00*4 0100 00 00 08 41", rejection::value},
      {0xB197, "03 64 2802 9416 00*18 0000 4CA9 0000 0000", rejection::version},
      {0xB0EC, "02 090500 075E", rejection::version},
      {0xB0EC, "01 090500", rejection::length},
      {0xB80A, "01000000 0F1000", rejection::length},
      {0xB821, "0A000000 00*30", rejection::version},
      {0xB821, "08000000 0F60 FF C602 7E093200 18002802 01 00*4 0100 04", rejection::value},
      {0x412F, "0B 00 0100 05", rejection::value},
      {0x412F, "FE 00 0200 20 05", rejection::value},
      {0x412F, "FE 00 0100 00", rejection::value},
      {0x512F, "09 1B 01 15", rejection::value},
      {0x5226, "05 01 01 15", rejection::value},
      {0x5226, "83 01 03 4A00", rejection::length},
      {0x5230, "01 02 0300 0802", rejection::length},
      {0x713A, "02 02000000 0524", rejection::value},
      {0x156E, "02 01 00 03 0300 0400 0600 0000 FF000000 614000 42594500", rejection::version},
      {0x156E, "01 01 00 03 0000 0100 0600 0000 FF000000 614000 00", rejection::value},
  };
  for (const auto& each : refused) {
    EXPECT_EQ(refusal(each.code, hex(each.payload)), each.why) << each.payload;
  }
  // The largest that a datagram takes with its header, and one byte more.
  EXPECT_NE(read(0xB0EC, hex("01 090500 55*65491")), "nothing");
  EXPECT_EQ(refusal(0xB0EC, hex("01 090500 55*65492")), rejection::count);
}

/// A DL-DCCH message of one byte, or a part of one.
bytes part(std::uint8_t number, std::uint8_t content, std::uint8_t radio = 1) {
  return hex("98010000") + bytes{radio} + hex("000000 1000 2500 2500 C0B0 BE0C0A9E34DDD400") +
         hex("1E 0F10 0F10 01 9501 B6030100 8562 09 00*4 0100 00 00") + bytes{number, content};
}

std::pair<std::string, decode::summary> decode_to_pcap(const bytes& capture, unsigned threads = 1) {
  return written([](auto& to) { return decode::pcap_store(to, true); }, capture, threads);
}

// In order, each radio by itself, and across chunks whatever the number of threads.
TEST(signalling, parts_are_joined) {
  bytes filler;
  while (filler.size() < 100'000) filler = filler + diag_frame(part(0, 0x66));
  bytes capture;
  for (const auto& each : {part(1, 0xA1), part(1, 0xB1, 2), part(2, 0xA2), part(7, 0xB7, 2)}) {
    capture = capture + diag_frame(each) + filler;
  }
  capture = capture + diag_frame(part(7, 0xA7)) + diag_frame(part(7, 0xA7));  // the last is alone
  capture = capture + diag_frame(part(1, 0xC1)) + diag_frame(part(3, 0xC3));  // one is missing
  capture = capture + diag_frame(part(1, 0xD1));                              // it ends there
  const auto [alone, counts] = decode_to_pcap(capture);
  const auto count = [&output = alone](const bytes& message) {
    const std::string found(message.begin(), message.end());
    return output.find(found) != std::string::npos;
  };
  // The end of the GSMTAP header: DL-DCCH.
  EXPECT_TRUE(count(hex("01000000 A1A2A7 00")));
  EXPECT_TRUE(count(hex("01000000 B1B7 0000")));
  EXPECT_FALSE(count(hex("01000000 C1")) || count(hex("01000000 D1")));
  const auto text = decode::to_text(counts, 0);
  EXPECT_PRED2(contains, text, "\nincomplete signalling    2\n");
  EXPECT_PRED2(contains, text, " decoded, 2 value not valid\n");
  for (const unsigned threads : {2U, 8U}) {
    const auto [output, as_counted] = decode_to_pcap(capture, threads);
    EXPECT_TRUE(output == alone) << threads;
    EXPECT_EQ(decode::to_text(as_counted, 0), text) << threads;
  }
}

TEST(signalling, file_is_as_wireshark_reads_it) {
  const auto [got, counts] = decode_to_pcap(diag_frame(cell_info) + diag_frame(lte_message) +
                                            diag_frame(radio_two + nr_message));
  const std::string version = "tvk-decode " TVK_DECODE_VERSION;
  ASSERT_EQ(version.size(), 16U);
  const bytes expected =
      hex("0A0D0D0A 34000000 4D3C2B1A 0100 0000 FF*8 0400 1000") + ascii(version) +
      hex("00000000 34000000") +
      // Raw IP, radio 1.
      hex("01000000 30000000 6500 0000 00000000 0200 0700") + ascii("radio 1") +
      hex("00 0300 0600") + ascii("GSMTAP") + hex("0000 00000000 30000000") +
      hex("06000000 A8010000 00000000 BE2E0500 260D9664 2D000000 2D000000 "
          "4500002D 00004000 40113CBE 7F000001 7F000001 12791279 00190000 "
          "02040D00 56940000 00000000 03000000 28 000000") +
      hex("0100 2B00") + ascii("log 0xB0C0 version 15, EARFCN 5780, PCI 405") +
      hex("00 0100 1601") +
      ascii(
          "2016-03-23T21:55:49.772582Z lte_rrc_serving_cell_info: packet_version=3, mcc=310, "
          "num_mnc_digits=3, mnc=260, tac=42235, cell_identity=6508556, pci=289, band=2, "
          "dl_earfcn=976, num_dl_rb=25, dl_bandwidth_MHz=5.0, ul_earfcn=18976, num_ul_rb=25, "
          "ul_bandwidth_MHz=5.0, allow_access=1") +
      hex("00 00  0200 0400 02000000 00000000 A8010000") +
      // Exported messages, radio 2.
      hex("01000000 44000000 FC00 0000 00000000 0200 0B00") + ascii("radio 2 pdu") +
      hex("00 0300 1800") + ascii("messages for a dissector") + hex("00000000 44000000") +
      hex("06000000 98000000 01000000 BE2E0500 08129664 23000000 23000000 000C0010") +
      ascii("nr-rrc.bcch.bch") + hex("00 00230004 00000001 00000000 040506 00 0100 4400") +
      ascii("log 0xB821 version 8, NR-ARFCN 431070, PCI 710, SFN 552, sub-frame 3") +
      hex("0200 0400 01000000 00000000 98000000");
  EXPECT_TRUE(got == std::string(expected.begin(), expected.end()));
}

}  // namespace
