#include "simulator/services/extension.h"

#include <algorithm>
#include <array>
#include <optional>

#include "simulator/modem/modem.h"

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qmi::error;

constexpr std::uint8_t type_tlv = 0x01;
constexpr std::uint8_t data_len_tlv = 0x02;
constexpr std::uint8_t payload_tlv = 0x10;
constexpr std::size_t payload_size = norvel_extend_qmi_max_data_v01;

constexpr std::uint32_t success = 0;
constexpr std::uint32_t not_there = 3;

struct extension_request {
  std::uint32_t type = 0;
  byte_view data;  ///< the bytes that count
};

struct extension_response {
  std::uint32_t result = not_there;
  byte_view data;
  std::size_t data_len = 0;  ///< zeros follow `data` up to here
};

error parse(byte_view tlvs, extension_request& parsed) {
  std::optional<std::uint32_t> type;
  std::optional<std::uint32_t> data_len;
  byte_view payload;
  protocol::qmi::tlv_reader reader(tlvs);
  while (const auto tlv = reader.next()) {
    switch (tlv->type) {
      case type_tlv:
      case data_len_tlv:
        if (tlv->value.size() != sizeof(std::uint32_t)) return error::malformed_message;
        (tlv->type == type_tlv ? type : data_len) = protocol::load_le<std::uint32_t>(tlv->value);
        break;
      case payload_tlv:
        if (tlv->value.size() > payload_size) return error::malformed_message;
        payload = tlv->value;
        break;
      default:
        if (tlv->type < protocol::qmi::first_optional_tlv) return error::malformed_message;
    }
  }
  if (!type || !data_len) return error::missing_argument;
  if (*data_len > payload.size()) return error::invalid_argument;
  parsed = {*type, payload.first(*data_len)};
  return error::none;
}

extension_response echo(byte_view data, modem& /*state*/) {
  return {success, data, data.size()};
}

// kind u32, always 2 | 0 u32 | number u32 | length u32 | payload
extension_response accept_common_message(byte_view data, modem& state) {
  constexpr std::uint32_t common_kind = 2;
  constexpr std::size_t answer_size = 508;
  protocol::byte_reader in(data);
  const auto kind = in.take<std::uint32_t>();
  const auto reserved = in.take<std::uint32_t>();
  const auto number = in.take<std::uint32_t>();
  const auto length = in.take<std::uint32_t>();
  if (!reserved || !length || kind != common_kind) return {};
  state.store.count("common." + std::to_string(*number));
  return {success, {}, answer_size};
}

struct type_row {
  std::uint32_t type;
  extension_response (*answer)(byte_view data, modem& state);
};
constexpr type_row types[] = {
    {0, echo}, {1, echo}, {3, echo}, {4, accept_common_message}, {5, echo},
};

extension_response answer_type(const extension_request& asked, modem& state) {
  const auto* const row = std::ranges::find(types, asked.type, &type_row::type);
  return row == std::end(types) ? extension_response{} : row->answer(asked.data, state);
}

}  // namespace

error answer_extension(const request& asked, protocol::qmi::tlv_writer& answer) {
  extension_request parsed;
  if (const error wrong = parse(asked.tlvs, parsed); wrong != error::none) return wrong;

  const extension_response response = answer_type(parsed, asked.state);
  answer.integer(extension_result_tlv, response.result)
      .integer(data_len_tlv, static_cast<std::uint32_t>(response.data_len));
  if (response.result == success) {
    std::array<std::uint8_t, payload_size> payload{};
    std::ranges::copy(response.data, payload.begin());
    answer.bytes(payload_tlv, payload);
  }
  return error::none;
}

}  // namespace sim
