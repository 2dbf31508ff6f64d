// The IDL encoder and decoder over the services' tables: C structures and TLV bytes are written by
// hand (little-endian).
#include <algorithm>
#include <iterator>
#include <sstream>
#include <tuple>
#include <utility>

#include "platform/linux/idl/codec.h"
#include "services/nas_v01.h"
#include "services/norvel_extend_qmi_v01.h"
#include "services/pdc_v01.h"
#include "services/service_rows.h"
#include "services/uim_v01.h"
#include "services/vendor_stats_v01.h"
#include "support/test.h"

namespace {

using namespace support;

// What no service of ours has: an integer of 8 bytes, and a string, which is not supported.
constexpr std::uint8_t wide_layout[] = {0x81, 0x03, 0x00};
constexpr std::uint8_t string_layout[] = {0x81, 0x56, 0x00, 0x10};
constexpr qmi_idl_message_table_entry own_messages[] = {{8, wide_layout}, {17, string_layout}};
constexpr qmi_idl_service_message_table_entry own_requests[] = {{1, 0, 11}, {2, 1, 20}};
constexpr services::type_table own_table({}, own_messages);
constexpr qmi_idl_service_object own_service = services::make_object(
    0xE5, 20, {.requests = own_requests, .responses = {}, .indications = {}}, own_table);

struct message {
  qmi_idl_service_object_type service;
  qmi_idl_type_of_message kind;
  std::uint16_t id;

  [[nodiscard]] std::uint32_t size() const {
    std::uint32_t bytes = 0;
    EXPECT_EQ(qmi_idl_get_message_c_struct_len(service, kind, id, &bytes), 0);
    return bytes;
  }
};
const auto* const extension = norvel_extend_qmi_get_service_object_internal_v01(1, 1, 6);
const auto* const pdc = pdc_get_service_object_internal_v01(1, 1, 6);
const auto* const stats = vendor_stats_get_service_object_internal_v01(1, 1, 6);
const auto* const uim = uim_get_service_object_internal_v01(1, 1, 6);
const message extension_request{extension, QMI_IDL_REQUEST, 2};
const message stats_request{stats, QMI_IDL_REQUEST, vendor_stats_get_v01};
const message stats_response{stats, QMI_IDL_RESPONSE, vendor_stats_get_v01};
const message power_on{uim, QMI_IDL_REQUEST, uim_power_up_v01};
const message send_apdu{uim, QMI_IDL_REQUEST, uim_send_apdu_v01};
const message config_list{pdc, QMI_IDL_INDICATION, pdc_list_configs_v01};
const message empty_message{nas_get_service_object_internal_v01(1, 1, 6), QMI_IDL_REQUEST,
                            services::reserved_message_id};

/// The C structure with these bytes at these offsets, the rest 0: "0:05000000 8:01".
bytes structure(std::size_t size, const std::string& text) {
  bytes out(size);
  std::istringstream in(text);
  for (std::string field; in >> field;) {
    const auto colon = field.find(':');
    std::ranges::copy(hex(field.substr(colon + 1)), out.begin() + std::stol(field));
  }
  return out;
}

/// The result, and what was made.
using coded = std::pair<std::int32_t, bytes>;

/// Decodes into memory that held other bytes, and has none to spare beyond the structure.
coded decode(const message& what, const bytes& tlvs, std::size_t size) {
  bytes made(size, 0xEE);
  const auto result = idl::decode(what.service, what.kind, what.id, tlvs, made);
  return {result, made};
}

coded encode(const message& what, const bytes& c_struct, std::size_t room = 40000) {
  bytes made(room);
  std::size_t written = 0;
  const auto result = idl::encode(what.service, what.kind, what.id, c_struct, made, written);
  return {result, slice(made, 0, written)};
}

TEST(idl_codec, examples_encode_to_these_bytes_and_decode_to_these_structures) {
  const std::tuple<message, const char*, const char*> rows[] = {
      {extension_request, "0:05000000 4:03000000 8:01 9:1fff00 520:77",
       "01 0400 05000000  02 0400 03000000  10 0002 1fff00 00*508 77"},
      {stats_request, "0:0100 2:0100 4:01000000 8:52000000",
       "01 0200 0100  02 0200 0100  03 0500 01 52000000"},
      {stats_response, "8:01 12:02000000 16:010002005200000003000000aabbcc 728:0000ffff53000000",
       "02 0400 0000 0000  10 1800 02  0100 0200 52000000 0300 aabbcc  0000 ffff 53000000 0000"},
      {power_on, "0:020000000101010000000000", "01 0100 02  10 0100 01  11 0100 00"},
      {send_apdu, "0:01000000 4:05000000 8:00a4000402 1032:010201 1036:01000000",
       "01 0100 01  02 0700 0500 00a4000402  10 0100 02  11 0100 01"},
      {{uim, QMI_IDL_RESPONSE, uim_open_logical_channel_v01},
       "8:010301900001 16:02000000 20:6f00",
       "02 0400 0000 0000  10 0100 03  11 0200 9000  12 0300 02 6f00"},
      {config_list, "4:01 8:78563412 12:01 16:02000000 20:0100000002000000aabb 3320:0101",
       "01 0200 0000  10 0400 78563412  11 0d00 02 01000000 02 aabb 00000000 00  e0 0100 01"},
      // Negative enumerations of 1 and 2 bytes, and an integer of 8.
      {{uim, QMI_IDL_REQUEST, uim_power_down_v01}, "0:feffffff", "01 0100 fe"},
      {{pdc, QMI_IDL_INDICATION, pdc_delete_config_v01}, "0:feffffff", "01 0200 feff"},
      {{&own_service, QMI_IDL_REQUEST, 1}, "0:0102030405060708", "01 0800 0102030405060708"},
      {empty_message, "", ""},
  };
  for (const auto& [what, fields, tlvs] : rows) {
    SCOPED_TRACE(tlvs);
    const auto c_struct = structure(what.size(), fields);
    const auto wire = hex(tlvs);
    EXPECT_EQ(encode(what, c_struct), coded(0, wire));
    EXPECT_EQ(encode(what, c_struct, wire.size()), coded(0, wire));
    EXPECT_EQ(decode(what, wire, c_struct.size()), coded(0, c_struct));
  }
}

TEST(idl_codec, encoder_refuses_structures_that_are_cut_or_count_too_much) {
  EXPECT_EQ(encode(stats_request, bytes(47)).first, -41);
  EXPECT_EQ(encode(stats_response, structure(7136, "12:0b000000")).first, 0) << "not valid";
  EXPECT_EQ(encode(stats_response, structure(7136, "8:01 12:02000000 736:bd020000")).first, -42);
}

TEST(idl_codec, output_without_room_has_one_code_for_a_header_and_one_for_a_value) {
  const auto c_struct = hex("02000000 01 01 01 00 00000000");
  // 01 0100 02 | 10 0100 01 | 11 0100 00
  const std::int32_t results[] = {-41, -41, -41, -45, -41, -41, -41, -45, -41, -41, -41, -45, 0};
  for (std::size_t room = 0; room < std::size(results); ++room) {
    EXPECT_EQ(encode(power_on, c_struct, room).first, results[room]) << room;
  }
}

TEST(idl_codec, decoder_gives_these_codes) {
  const std::tuple<message, const char*, std::int32_t> rows[] = {
      {power_on, "ff 0000  11 0100 01  12 0200 aabb  01 0100 02", 0},
      {stats_request, "01 0200 0100  02 0200 0100  03 0100 00  10 0000", 0},
      {power_on, "01 0100 02  0f 0100 00", -49},
      {power_on, "01 0100 02  01 0100 02", -44},
      {power_on, "01 0100 02  10 0100 01  10 0100 01", -44},
      {power_on, "01 0200 0200", -45},
      {power_on, "01 0100 02  10 0200 0100", -45},
      {power_on, "01 ffff 02", -45},
      {power_on, "01 0100 02  20 0200 00", -45},
      {power_on, "", -46},
      {extension_request, "01 0400 00000000  02 0400 00000000  10 ff01 00*511", -45},
      {stats_request, "01 0200 0100  02 0200 0100  03 2900 0a 00*40", 0},
      {stats_request, "01 0200 0100  02 0200 0100  03 2d00 0b 00*44", -42},
      {stats_request, "01 0200 0100  02 0200 0100  03 0500 02 52000000", -45},
      {stats_request, "01 0200 0100  03 0100 00", -46},
      {stats_response, "02 0400 0000 0000  10 c802 01  0000 0000 00000000 bd02 00*701", -42},
      {stats_response, "02 0400 0000 0000  10 0a00 01  0000 0000 00000000 00", -45},
      {stats_response, "02 0400 0000 0000  10 0b00 02  0000 0000 00000000 0000", -45},
      {empty_message, "01 0100 00", -49},
      // What the decoder takes for a failed standard response may lack mandatory TLVs; in the
      // extension service TLV 0x02 is a length.
      {{extension, QMI_IDL_RESPONSE, 2}, "02 0400 ff000000", 0},
      {{extension, QMI_IDL_RESPONSE, 2}, "02 0400 00010000", -46},
      {{extension, QMI_IDL_RESPONSE, 2}, "01 0400 03000000", -46},
      {extension_request, "02 0400 03000000", -46},
      {{extension, QMI_IDL_INDICATION, 3}, "02 0400 03000000", -46},
  };
  for (const auto& [what, tlvs, result] : rows) {
    EXPECT_EQ(decode(what, hex(tlvs), what.size()).first, result) << tlvs;
  }
  EXPECT_EQ(decode(power_on, hex("01 0100 02"), power_on.size() - 1).first, -41);
}

TEST(idl_codec, list_above_its_maximum_leaves_its_valid_flag_and_count) {
  const auto got = decode(config_list, hex("01 0200 0000  11 8300 1a 00*130"), 3324);
  EXPECT_EQ(got.first, -42);
  EXPECT_EQ(got.second[12], 1);
  EXPECT_EQ(u32_at(got.second, 16), 26U);
}

TEST(idl_codec, what_the_service_does_not_have_is_not_found_or_recognised) {
  qmi_idl_service_object newer = *uim;
  newer.library_version = 7;
  const std::pair<message, std::int32_t> rows[] = {
      {{stats, QMI_IDL_REQUEST, 0x0208}, -43},
      {{stats, QMI_IDL_INDICATION, 0x0207}, -43},
      {{&newer, QMI_IDL_REQUEST, uim_power_up_v01}, -48},
      {{&own_service, QMI_IDL_REQUEST, 2}, -48},  // a string
  };
  for (const auto& [what, result] : rows) {
    EXPECT_EQ(encode(what, bytes(48)).first, result);
    EXPECT_EQ(decode(what, hex("01 0100 02"), 48).first, result);
  }
}

TEST(idl_codec, arrays_of_the_services_have_these_maxima) {
  // Offsets of the count, and of the valid flag of the option that holds the array; 0: none does.
  const std::tuple<message, std::size_t, std::uint32_t, std::size_t> rows[] = {
      {{pdc, QMI_IDL_REQUEST, pdc_get_config_info_v01}, 4, 124, 0},
      {{pdc, QMI_IDL_REQUEST, pdc_delete_config_v01}, 16, 124, 12},
      {{pdc, QMI_IDL_REQUEST, pdc_load_config_v01}, 4, 124, 0},
      {{pdc, QMI_IDL_REQUEST, pdc_load_config_v01}, 136, 32768, 0},
      {config_list, 16, 25, 12},
      {stats_request, 4, 10, 0},
      {stats_response, 12, 10, 8},
      {send_apdu, 4, 1024, 0},
      {{uim, QMI_IDL_RESPONSE, uim_send_apdu_v01}, 12, 1024, 8},
      {{uim, QMI_IDL_REQUEST, uim_open_logical_channel_v01}, 8, 32, 4},
      {{uim, QMI_IDL_RESPONSE, uim_get_eid_v01}, 12, 16, 8},
  };
  for (const auto& [what, count_offset, maximum, valid_offset] : rows) {
    for (const auto& [count, result] : {std::pair{maximum, 0}, {maximum + 1, -42}}) {
      bytes fields = padded(bytes(count_offset) + u32(count), what.size());
      if (valid_offset != 0) fields.at(valid_offset) = 1;
      EXPECT_EQ(encode(what, fields).first, result) << count_offset << " of message " << what.id;
    }
  }
  EXPECT_EQ(pdc_get_service_object_internal_v01(1, 0, 6), nullptr) << "of another version";
}

}  // namespace
