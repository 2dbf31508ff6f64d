// The ground of the decoders: records, conversions, windows and checks.
#include "modem_stats/conversions.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/record_slots.h"
#include "support/decoded.h"
#include "support/printed.h"
#include "support/test.h"

namespace {

using namespace modem_stats;
using support::decoded;

TEST(record, length_is_1_to_700) {
  constexpr modem_stats_data_id_e_type id{83};
  for (const unsigned length : {0U, 701U}) {
    modem_stats_single_data_common_type* record = nullptr;
    EXPECT_EQ(support::printed_by(
                  [&] { EXPECT_FALSE(modem_stats_new_single_ex(id, length, 0, &record)); }),
              "data_len(" + std::to_string(length) + ") should be in (0, 700]");
    EXPECT_EQ(record, nullptr);
  }
  for (const unsigned length : {1U, 700U}) {
    modem_stats_single_data_common_type* record = nullptr;
    ASSERT_TRUE(modem_stats_new_single_ex(id, length, 0, &record));
    record->data[length - 1] = 1;
    EXPECT_EQ(record->data_len, length);
    EXPECT_EQ(record->data_id, 83U);
    modem_stats_free_single(record);
  }
}

TEST(conversion, digits_are_rounded_one_by_one) {
  EXPECT_EQ(modem_stats_i2f_rsrp(0), -180.00F);
  EXPECT_EQ(modem_stats_i2f_rsrp(1000), -117.50F);
  EXPECT_EQ(modem_stats_i2f_rsrq(-5), -30.31F);
  EXPECT_EQ(modem_stats_i2f_rssi(690), -66.88F);
  EXPECT_EQ(modem_stats_i2f_snr(284), 8.49F);  // not 8.40: the third digit's product says 9
  EXPECT_EQ(modem_stats_nr5g_snr(2048), 3.01F);
  EXPECT_EQ(modem_stats_nr5g_rsrp_ex(-12016), -93.875F);
}

TEST(conversion_death_test, overflow_ends_the_process) {
  EXPECT_DEATH((void)modem_stats_i2f_rsrp(INT32_MIN), "");
  EXPECT_DEATH((void)modem_stats_nr5g_rssi(INT32_MIN), "");
}

TEST(dispatch, header_of_a_packet_without_parser_or_payload) {
  unsigned char payload[108] = {9};
  EXPECT_EQ(support::printed_by([&] {
              modem_stats_diag_process_log_ex(1, 0xB170, 108, payload);
              modem_stats_diag_process_event_ex(0, 0xB062, 108, payload);
              modem_stats_diag_process_log_ex(0, 0xB062, 108, nullptr);
            }),
            "modem_stats_diag_process_log_ex: log_id 0xb170, length 108, sub_id = 1\n"
            "modem_stats_diag_process_event_ex: event_id 45154, length 108, sub_id = 0\n"
            "modem_stats_diag_process_log_ex: log_id 0xb062, length 108, sub_id = 0\n"
            "MODEM_STATS_DATA_UNPK_START, payload is NULL, id(0xb062)\n");
}

TEST(dispatch, slots_hold_the_last_record) {
  const auto bytes = support::hex("0d013412d4c3b2a100710200010021002000000f0008010000");
  auto other = bytes;
  other[12] = 2;
  record_slots slots;
  stream_state state;
  const auto decode = [&](std::span<const std::uint8_t> payload) {
    return decode_packet({packet_kind::log, 0x1568, 0, payload}, {.records = &slots}, state);
  };
  EXPECT_EQ(decode(std::span(bytes).first(21)).rejected, rejection::length);
  EXPECT_EQ(slots.data_id(), 146U);
  EXPECT_EQ(slots.get(), nullptr);
  EXPECT_EQ(decode(bytes).version, 13U);
  decode(other);
  ASSERT_EQ(slots.data_id(), 136U);
  EXPECT_EQ(slots.get()->data_id, 136U);
  EXPECT_EQ((support::bytes(slots.get()->data, slots.get()->data + slots.get()->data_len)),
            support::hex("0d0208"));
}

// A decoder of its own for each check.
class reading : public testing::Test, line_sink, record_sink {
 protected:
  packet_decoder decoder(std::string_view bytes, window_end end = window_end::of_packet,
                         const char* parser = "parser") {
    payload_ = support::hex(bytes);
    return {parser, {packet_kind::log, 0x1234, 0, payload_}, end, {this, this}, state_};
  }

  std::string lines;
  std::vector<support::bytes> records;

 private:
  void write(std::string_view text) override { lines += text; }
  void record(const record_schema& /*schema*/, const record_data& data) override {
    records.emplace_back(data.bytes.begin(), data.bytes.end());
  }

  support::bytes payload_;
  stream_state state_;
};

constexpr quantity some{"some", "a quantity"};
constexpr auto three_fields =
    fields(field<u8>{"a", some}, field<u16>{"b", some}, field<i8>{"c", some});
constexpr fixed_record<three_fields> three{83, "three"};

// What is not the record's fields does not compile.
constexpr bool makes_three(auto... values) {
  return requires(packet_decoder in) {
    in.publish(three, values...);
  };
}
static_assert(makes_three("a"_f = u8{1}, "b"_f = u16{2}, "c"_f = i8{3}));
static_assert(!makes_three("a"_f = u8{1}, "b"_f = u16{2}));
static_assert(!makes_three("a"_f = u8{1}, "b"_f = u8{2}, "c"_f = i8{3}));
static_assert(!makes_three("a"_f = u8{1}, "b"_f = u16{2}, "c"_f = i8{3}, "a"_f = u8{1}));

TEST_F(reading, byte_reads_stop_at_the_end_and_say_it_once) {
  auto in = decoder("01 0203 04");
  EXPECT_EQ(in.next<u8>("a"), 1);
  EXPECT_EQ(in.next<u16>("b"), 0x0302);
  EXPECT_EQ(in.next<u16>("c"), 0);
  EXPECT_EQ(in.next<u8>("d"), 0);
  in.print("dropped");
  in.publish(three, "a"_f = u8{1}, "b"_f = u16{2}, "c"_f = i8{3});
  EXPECT_EQ(lines, "g_pk_data_left(1) is not enough for c, id(0x1234)\n");
  EXPECT_TRUE(records.empty());
}

TEST_F(reading, field_at_the_end_of_a_packet_needs_no_word_behind_it) {
  auto in = decoder("00 00 a5");
  EXPECT_EQ(in.bits(bit_field<u8>{"high", 20, 4}), 0x0A);
  EXPECT_EQ(in.bits(bit_field<i8>{"sign", 20, 4}), -6);
  EXPECT_EQ(in.bits(bit_field<u8>{"beyond", 20, 5}), 0);
  EXPECT_EQ(lines, "g_pk_data_left(1) is not enough for beyond_tmp, id(0x1234)\n");
}

TEST_F(reading, sliding_window_reads_zeros_and_ends_after_2000_bytes) {
  auto in = decoder("07", window_end::sliding);
  EXPECT_EQ(in.next<u8>("version"), 7);
  EXPECT_EQ(in.bits(bit_field<u64>{"far", 8 * 1000}), 0U);
  EXPECT_EQ(in.bits(bit_field<u8>{"last", 8 * (1008 + 1992)}), 0);  // from behind the one before
  EXPECT_TRUE(in.ok());
  EXPECT_EQ(in.bits(bit_field<u8>{"too_near_the_end", 8 * (3001 + 1993)}), 0);
  auto outside = decoder("07", window_end::sliding);
  EXPECT_EQ(outside.bits(bit_field<u8>{"outside", 8 * 2000}), 0);
  EXPECT_EQ(lines,
            "g_pk_data_left(7) is not enough for too_near_the_end_tmp, id(0x1234)\n"
            "UNPK_SET_POS, pos(2000) should be[0, 2000), id(0x1234)\n");
}

TEST_F(reading, field_that_does_not_fit_its_word_or_its_value_is_refused) {
  const auto refused = [&](const auto& field) {
    lines.clear();
    EXPECT_EQ(decoder("ff*16", window_end::sliding).bits(field), 0U);
    return lines;
  };
  EXPECT_EQ(refused(bit_field<u64>{"wide", 1, 64}),
            "UNPK_MID, high(65) should be in [1, 64] for wide_tmp, id(0x1234)\n");
  EXPECT_EQ(refused(bit_field<u8>{"narrow", 0, 9}),
            "UNPK_LOW, bit_num(9) should be in [1, 8] for narrow_tmp, id(0x1234)\n");
  EXPECT_EQ(refused(bit_field<u8>{"empty", 2, 0}),
            "UNPK_MID, low(3) should <= high(2) for empty_tmp, id(0x1234)\n");
}

TEST_F(reading, cursor_before_the_window_and_payload_that_is_not_there) {
  auto in = decoder("00*40", window_end::sliding);
  (void)in.bits(at_byte<u8>("far", 30));
  in.block_at(10);
  EXPECT_EQ(in.next<u8>("back"), 0);
  EXPECT_EQ(decoder("").next<u8>("version"), 0);
  EXPECT_EQ(lines,
            "g_pK_DATA_CNT(-21) is can not < 0 for back, id(0x1234)\n"
            "MODEM_STATS_DATA_UNPK, g_pk_data_ptr is NULL, name: version, id(0x1234)\n");
}

TEST_F(reading, checks_name_what_they_refuse) {
  decoder("00", window_end::of_packet, __func__).check_valid(false, -1);
  decoder("00").check_valid(false, 6, "sub_packet_id");
  EXPECT_FALSE(decoder("00").check_count(21, 20, "num"));
  decoder("00").check_version(2, {1, 3});
  decoder("00").check_version(0x40009, {1, 3});
  EXPECT_EQ(lines,
            "DATA_IS_NOT_VALID(-1), name(TestBody), id(0x1234)\n"
            "DATA_IS_NOT_VALID(6), name(sub_packet_id), id(0x1234)\n"
            "Cur(21) reached max(20), for num, id(0x1234)\n"
            "VERSION_NOT_SUPPORT, version(2), not_support_num(1), name(parser), id(0x1234)\n"
            "VERSION_NOT_SUPPORT, version(262153), not_support_num(2), name(parser), id(0x1234)\n");
}

TEST_F(reading, record_is_packed_as_its_rows_say_and_never_longer_than_700_bytes) {
  auto in = decoder("00");
  in.publish(three, "a"_f = u8{1}, "b"_f = u16{0x0302}, "c"_f = i8{-1});
  in.publish(three, "c"_f = i8{-1}, "b"_f = u16{0x0302}, "a"_f = u8{2});
  EXPECT_EQ(records, (std::vector{support::hex("01 0203 ff"), support::hex("02 0203 ff")}));
  records.clear();
  for (int i = 0; i < 176; ++i) in.add<three_fields>("a"_f = u8{}, "b"_f = u16{}, "c"_f = i8{});
  in.publish_added(three);
  EXPECT_EQ(lines, "Cur(700) reached max(700), for parser, id(0x1234)\n");
  EXPECT_TRUE(records.empty());
}

}  // namespace
