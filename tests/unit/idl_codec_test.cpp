// The IDL encoder and decoder over small service objects: byte strings, C structures and TLV bytes
// all written by hand (little-endian).
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/linux/idl/codec.h"
#include "services/pdc_v01.h"
#include "services/uim_v01.h"
#include "services/vendor_stats_v01.h"
#include "support/bytes.h"
#include "support/test_service.h"

namespace {

using namespace support;

constexpr std::uint16_t message_id = test_service::id;

/// The C structure with these bytes at these offsets, the rest 0.
bytes structure(std::size_t size, const std::string& text) {
  bytes out(size);
  for (const auto& [offset, value] : numbered(text)) {
    const auto part = hex(value);
    std::copy(part.begin(), part.end(), out.begin() + static_cast<std::ptrdiff_t>(offset));
  }
  return out;
}

struct decoded {
  std::int32_t result = 1;
  bytes c_struct;
};

/// Decodes into memory that held other bytes, and has none to spare beyond the structure.
decoded decode(const test_service& service, qmi_idl_type_of_message kind, const bytes& tlvs,
               std::size_t size) {
  decoded got{1, bytes(size, 0xEE)};
  got.result = idl::decode(service.get(), kind, message_id, tlvs, got.c_struct);
  return got;
}

struct encoded {
  std::int32_t result = 1;
  bytes tlvs;
};

encoded encode(const test_service& service, qmi_idl_type_of_message kind, const bytes& c_struct,
               std::size_t room = 10672) {
  encoded got{1, bytes(room)};
  std::size_t written = 0;
  got.result = idl::encode(service.get(), kind, message_id, c_struct, got.tlvs, written);
  got.tlvs.resize(std::min(written, room));
  return got;
}

const char* const extension_layout = "524: 01 02 00  02 02 04  c1 10 60 09 00 02";
const char* const statistics_request_layout = "48: 01 01 00  02 01 02  83 52 08 0a 04";
const char* const statistics_response_layout =
    "7136: 02 07 00 00 01  c8 10 57 10 0a 04 00 00; 712: 01 00  01 02  02 04  70 0c bc 02 04  20";
const char* const power_on_layout = "12: 01 04 00  41 10 00 05  c2 11 04 08";
const char* const send_apdu_layout =
    "1040: 01 04 00  02 70 08 00 04 04  41 10 80 09 04  c2 11 84 0c 04";
const char* const list_layout =
    "3324: 01 05 00  44 10 02 08  48 11 57 14 19 04 00 00  c1 e0 80 f9 0c;"
    "132: 02 00  50 08 7c 04  20";

struct example {
  const char* name;
  qmi_idl_type_of_message kind;
  const char* layout;
  const char* c_struct;
  const char* wire;
};

const example examples[] = {
    {"extension", QMI_IDL_REQUEST, extension_layout,
     "0: 05000000; 4: 03000000; 8: 01; 9: 1fff00; 520: 77",
     "01 0400 05000000  02 0400 03000000  10 0002 1fff00 00*508 77"},
    {"statistics request", QMI_IDL_REQUEST, statistics_request_layout,
     "0: 0100; 2: 0100; 4: 01000000; 8: 52000000",
     "01 0200 0100  02 0200 0100  03 0500 01 52000000"},
    {"statistics response", QMI_IDL_RESPONSE, statistics_response_layout,
     "8: 01; 12: 02000000; 16: 0100 0200 52000000 03000000 aabbcc; 728: 0000 ffff 53000000",
     "02 0400 0000 0000  10 1800 02  0100 0200 52000000 0300 aabbcc  0000 ffff 53000000 0000"},
    {"1-byte enumeration, negative", QMI_IDL_REQUEST, "4: 81 04 00", "0: feffffff", "01 0100 fe"},
    {"power on", QMI_IDL_REQUEST, power_on_layout, "0: 02000000 01 01 01 00 00000000",
     "01 0100 02  10 0100 01  11 0100 00"},
    {"send APDU", QMI_IDL_REQUEST, send_apdu_layout,
     "0: 01000000; 4: 05000000; 8: 00a4000402; 1032: 01 02 01; 1036: 01000000",
     "01 0100 01  02 0700 0500 00a4000402  10 0100 02  11 0100 01"},
    {"open channel", QMI_IDL_RESPONSE,
     "276: 02 07 00 00 01  41 10 00 09  41 11 07 0b 00 00  c7 12 50 14 ff 04; 2: 00 00 00 01 20",
     "8: 01 03 01 90 00 01; 16: 02000000; 20: 6f00",
     "02 0400 0000 0000  10 0100 03  11 0200 9000  12 0300 02 6f00"},
    {"configuration list", QMI_IDL_INDICATION, list_layout,
     "4: 01; 8: 78563412; 12: 01; 16: 02000000; 20: 01000000 02000000 aabb; 3320: 01 01",
     "01 0200 0000  10 0400 78563412  11 0d00 02 01000000 02 aabb 00000000 00  e0 0100 01"},
    {"2-byte enumeration, negative", QMI_IDL_INDICATION, "12: 01 05 00  c4 10 02 08", "0: feffffff",
     "01 0200 feff"},
    {"8-byte integer", QMI_IDL_REQUEST, "8: 81 03 00", "0: 0102030405060708",
     "01 0800 0102030405060708"},
    {"empty message", QMI_IDL_REQUEST, "0:", "", ""},
};

TEST(idl_codec, examples_encode_to_these_bytes_and_decode_to_these_structures) {
  for (const auto& each : examples) {
    SCOPED_TRACE(each.name);
    const test_service service(each.layout);
    const auto c_struct = structure(service.size(), each.c_struct);
    const auto wire = hex(each.wire);
    const auto out = encode(service, each.kind, c_struct);
    EXPECT_EQ(out.result, 0);
    EXPECT_EQ(out.tlvs, wire);
    EXPECT_EQ(encode(service, each.kind, c_struct, wire.size()).result, 0);
    const auto in = decode(service, each.kind, wire, service.size());
    EXPECT_EQ(in.result, 0);
    EXPECT_EQ(in.c_struct, c_struct);
    std::uint32_t size = 1;
    EXPECT_EQ(qmi_idl_get_message_c_struct_len(service.get(), each.kind, message_id, &size), 0);
    EXPECT_EQ(size, service.size());
  }
}

TEST(idl_codec, encoder_refuses_these_structures) {
  const test_service request(statistics_request_layout);
  const test_service apdu(send_apdu_layout);
  const test_service response(statistics_response_layout);
  const test_service list(list_layout);
  const struct {
    const char* name;
    const test_service& service;
    bytes c_struct;
    std::int32_t result;
  } rows[] = {
      {"smaller than the table's", request, bytes(47), -41},
      {"empty", request, {}, -41},
      {"10 of 10", request, structure(48, "4: 0a000000"), 0},
      {"11 of 10", request, structure(48, "4: 0b000000"), -42},
      {"2^32-1 of 10", request, structure(48, "4: ffffffff"), -42},
      {"1025 of 1024 bytes", apdu, structure(1040, "4: 01040000"), -42},
      {"11 of 10 entries", response, structure(7136, "8: 01; 12: 0b000000"), -42},
      {"11 of 10 entries, not valid", response, structure(7136, "12: 0b000000"), 0},
      {"701 of 700 bytes in the second entry", response,
       structure(7136, "8: 01; 12: 02000000; 736: bd020000"), -42},
      {"125 of 124 bytes in an entry", list, structure(3324, "12: 01; 16: 01000000; 24: 7d000000"),
       -42},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(encode(row.service, QMI_IDL_REQUEST, row.c_struct).result, row.result);
  }
}

TEST(idl_codec, output_without_room_has_one_code_for_a_header_and_one_for_a_value) {
  const test_service service(power_on_layout);
  const auto c_struct = structure(12, "0: 02000000 01 01 01 00 00000000");
  // 01 0100 02 | 10 0100 01 | 11 0100 00
  const std::int32_t results[] = {-41, -41, -41, -45, -41, -41, -41, -45, -41, -41, -41, -45, 0};
  for (std::size_t room = 0; room < std::size(results); ++room) {
    EXPECT_EQ(encode(service, QMI_IDL_REQUEST, c_struct, room).result, results[room]) << room;
  }
}

TEST(idl_codec, decoder_gives_these_codes) {
  const test_service power(power_on_layout);
  const test_service extension(extension_layout);
  const test_service request(statistics_request_layout);
  const test_service response(statistics_response_layout);
  const test_service list(list_layout);
  const test_service empty("0:");
  const struct {
    const char* name;
    const test_service& service;
    const char* tlvs;
    std::int32_t result;
  } rows[] = {
      {"in another order, with unknown optional ones", power,
       "ff 0000  11 0100 01  12 0200 aabb  01 0100 02", 0},
      {"unknown 0x10, the first optional", request,
       "01 0200 0100  02 0200 0100  03 0100 00  10 0000", 0},
      {"unknown mandatory", power, "01 0100 02  0f 0100 00", -49},
      {"unknown mandatory 0", power, "00 0100 00  01 0100 02", -49},
      {"mandatory twice", power, "01 0100 02  01 0100 02", -44},
      {"optional twice", power, "01 0100 02  10 0100 01  10 0100 01", -44},
      {"shorter than its type", power, "01 0000", -45},
      {"longer than its type", power, "01 0200 0200", -45},
      {"optional longer than its type", power, "01 0100 02  10 0200 0100", -45},
      {"far past the end", power, "01 ffff 02", -45},
      {"unknown past the end", power, "01 0100 02  20 0200 00", -45},
      {"nothing", power, "", -46},
      {"optional only", power, "10 0100 01", -46},
      {"fixed array one short", extension, "01 0400 00000000  02 0400 00000000  10 ff01 00*511",
       -45},
      {"fixed array one long", extension, "01 0400 00000000  02 0400 00000000  10 0102 00*513",
       -45},
      {"10 of 10", request, "01 0200 0100  02 0200 0100  03 2900 0a 00*40", 0},
      {"11 of 10", request, "01 0200 0100  02 0200 0100  03 2d00 0b 00*44", -42},
      {"255 of 10, bytes of one", request, "01 0200 0100  02 0200 0100  03 0500 ff 52000000", -42},
      {"count of two, bytes of one", request, "01 0200 0100  02 0200 0100  03 0500 02 52000000",
       -45},
      {"count of none, bytes of one", request, "01 0200 0100  02 0200 0100  03 0500 00 52000000",
       -45},
      {"second mandatory missing", request, "01 0200 0100  03 0100 00", -46},
      {"701 of 700 bytes in an entry", response,
       "02 0400 0000 0000  10 c802 01  0000 0000 00000000 bd02 00*701", -42},
      {"entry cut in its count", response, "02 0400 0000 0000  10 0a00 01  0000 0000 00000000 00",
       -45},
      {"second entry missing", response, "02 0400 0000 0000  10 0b00 02  0000 0000 00000000 0000",
       -45},
      {"125 of 124 bytes in an entry", list, "01 0200 0000  11 8300 01 00000000 7d 00*125", -42},
      {"empty message, nothing", empty, "", 0},
      {"empty message, optional", empty, "10 0100 00", 0},
      {"empty message, mandatory", empty, "01 0100 00", -49},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(decode(row.service, QMI_IDL_REQUEST, hex(row.tlvs), row.service.size()).result,
              row.result);
  }
  EXPECT_EQ(decode(power, QMI_IDL_REQUEST, hex("01 0100 02"), power.size() - 1).result, -41);
}

TEST(idl_codec, list_above_its_maximum_leaves_its_valid_flag_and_count) {
  const test_service list(list_layout);
  auto tlvs = hex("01 0200 0000  10 0400 01000000  11 8300 1a");
  for (int i = 0; i < 26; ++i) tlvs = tlvs + hex("01000000 00");
  const auto got = decode(list, QMI_IDL_INDICATION, tlvs, 3324);
  EXPECT_EQ(got.result, -42);
  EXPECT_EQ(got.c_struct[12], 1);
  EXPECT_EQ(u32_at(got.c_struct, 16), 26U);
  EXPECT_EQ(u32_at(got.c_struct, 8), 1U);
  EXPECT_EQ(got.c_struct[3320], 0);
}

// What the decoder takes for a failed standard response may lack mandatory TLVs; in the extension
// service TLV 0x02 is a length.
TEST(idl_codec, mandatory_tlv_may_be_missing_in_a_response_whose_tlv_2_begins_non_zero) {
  const test_service extension(extension_layout);
  const struct {
    const char* name;
    qmi_idl_type_of_message kind;
    bytes tlvs;
    std::int32_t result;
  } rows[] = {
      {"response, 3", QMI_IDL_RESPONSE, hex("02 0400 03000000"), 0},
      {"response, 0xff", QMI_IDL_RESPONSE, hex("02 0400 ff000000"), 0},
      {"response, 0", QMI_IDL_RESPONSE, hex("02 0400 00000000"), -46},
      {"response, 256", QMI_IDL_RESPONSE, hex("02 0400 00010000"), -46},
      {"response, type alone", QMI_IDL_RESPONSE, hex("01 0400 03000000"), -46},
      {"request, 3", QMI_IDL_REQUEST, hex("02 0400 03000000"), -46},
      {"indication, 3", QMI_IDL_INDICATION, hex("02 0400 03000000"), -46},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(decode(extension, row.kind, row.tlvs, 524).result, row.result);
  }
  const auto got = decode(extension, QMI_IDL_RESPONSE, hex("02 0400 03000000"), 524);
  EXPECT_EQ(got.c_struct, structure(524, "4: 03000000"));
}

TEST(idl_codec, larger_structure_and_any_valid_flag_are_taken) {
  const test_service power(power_on_layout);
  const auto got = decode(power, QMI_IDL_REQUEST, hex("01 0100 02"), 16);
  EXPECT_EQ(got.result, 0);
  EXPECT_EQ(got.c_struct, hex("02000000 00000000 00000000 eeeeeeee")) << "cleared";
  EXPECT_EQ(encode(power, QMI_IDL_REQUEST, hex("02000000 00 01 80 00 01000000")).tlvs,
            hex("01 0100 02  11 0100 01"));
}

TEST(idl_codec, message_that_the_service_does_not_have_is_not_found) {
  const test_service power(power_on_layout);
  for (const auto id : std::initializer_list<std::uint16_t>{0x0000, 0x0206, 0x0208, 0xFFFF}) {
    bytes c_struct(12);
    bytes out(64);
    std::size_t written = 0;
    std::uint32_t size = 0;
    const auto in = hex("01 0100 02");
    EXPECT_EQ(idl::find_message(power.get(), QMI_IDL_REQUEST, id), nullptr);
    EXPECT_EQ(idl::encode(power.get(), QMI_IDL_REQUEST, id, c_struct, out, written), -43);
    EXPECT_EQ(idl::decode(power.get(), QMI_IDL_REQUEST, id, in, c_struct), -43);
    EXPECT_EQ(qmi_idl_get_message_c_struct_len(power.get(), QMI_IDL_REQUEST, id, &size), -43);
  }
  const auto* row = idl::find_message(power.get(), QMI_IDL_INDICATION, message_id);
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->qmi_message_id, message_id);
}

TEST(idl_codec, object_of_another_version_or_with_strings_is_not_recognised) {
  test_service newer(power_on_layout);
  newer.set_library_version(7);
  EXPECT_EQ(encode(newer, QMI_IDL_REQUEST, bytes(12)).result, -48);
  EXPECT_EQ(decode(newer, QMI_IDL_REQUEST, hex("01 0100 02"), 12).result, -48);
  const test_service text("17: 81 56 00 10");
  EXPECT_EQ(encode(text, QMI_IDL_REQUEST, bytes(17)).result, -48);
  EXPECT_EQ(decode(text, QMI_IDL_REQUEST, hex("01 0100 41"), 17).result, -48);
}

TEST(idl_codec, cut_message_is_whole_only_between_tlvs) {
  for (const auto& each : examples) {
    SCOPED_TRACE(each.name);
    const test_service service(each.layout);
    const auto wire = hex(each.wire);
    std::size_t next_tlv = 0;
    for (std::size_t size = 0; size < wire.size(); ++size) {
      const bytes cut(wire.begin(), wire.begin() + static_cast<std::ptrdiff_t>(size));
      const auto got = decode(service, each.kind, cut, service.size());
      if (size == next_tlv) {
        EXPECT_TRUE(got.result == 0 || got.result == -46) << size << " gave " << got.result;
        next_tlv += 3U + wire[size + 1] + 256U * wire[size + 2];
      } else {
        EXPECT_EQ(got.result, -45) << size;
      }
    }
  }
}

struct array_row {
  qmi_idl_service_object_type service;
  qmi_idl_type_of_message kind;
  std::uint16_t message_id;
  std::size_t count_offset;
  std::uint32_t maximum;
  std::size_t valid_offset = 0;  ///< of the option that holds the array
};

TEST(service_tables, arrays_have_these_maxima) {
  const auto* const pdc = pdc_get_service_object_internal_v01(1, 1, 6);
  const auto* const stats = vendor_stats_get_service_object_internal_v01(1, 1, 6);
  const auto* const uim = uim_get_service_object_internal_v01(1, 1, 6);
  const array_row rows[] = {
      {pdc, QMI_IDL_REQUEST, pdc_get_config_info_v01, 4, 124},
      {pdc, QMI_IDL_REQUEST, pdc_delete_config_v01, 16, 124, 12},
      {pdc, QMI_IDL_REQUEST, pdc_load_config_v01, 4, 124},
      {pdc, QMI_IDL_REQUEST, pdc_load_config_v01, 136, 32768},
      {pdc, QMI_IDL_INDICATION, pdc_list_configs_v01, 16, 25, 12},
      {stats, QMI_IDL_REQUEST, vendor_stats_get_v01, 4, 10},
      {stats, QMI_IDL_RESPONSE, vendor_stats_get_v01, 12, 10, 8},
      {uim, QMI_IDL_REQUEST, uim_send_apdu_v01, 4, 1024},
      {uim, QMI_IDL_RESPONSE, uim_send_apdu_v01, 12, 1024, 8},
      {uim, QMI_IDL_REQUEST, uim_open_logical_channel_v01, 8, 32, 4},
      {uim, QMI_IDL_RESPONSE, uim_get_eid_v01, 12, 16, 8},
  };
  for (const auto& row : rows) {
    std::uint32_t size = 0;
    ASSERT_EQ(qmi_idl_get_message_c_struct_len(row.service, row.kind, row.message_id, &size), 0);
    for (const bool is_more : {false, true}) {
      bytes fields(size);
      bytes out(40000);
      std::size_t written = 0;
      if (row.valid_offset != 0) fields.at(row.valid_offset) = 1;
      const auto count = u32(row.maximum + (is_more ? 1 : 0));
      std::ranges::copy(count, fields.begin() + static_cast<std::ptrdiff_t>(row.count_offset));
      EXPECT_EQ(idl::encode(row.service, row.kind, row.message_id, fields, out, written),
                is_more ? -42 : 0)
          << "row " << &row - rows;
    }
  }
  EXPECT_EQ(pdc_get_service_object_internal_v01(1, 0, 6), nullptr) << "of another version";
}

}  // namespace
