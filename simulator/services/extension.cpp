// The vendor's extension service. Its messages share one layout:
//   TLV 0x01 u32 type (request) or result (response); TLV 0x02 u32 data_len;
//   TLV 0x10, optional, the payload: 512 bytes of which data_len count.
// A shorter payload is accepted in requests; an answer's is always 512 bytes.
#include "simulator/services/extension.h"

#include <algorithm>
#include <array>
#include <optional>

#include "services/norvel_extend_qmi_v01.h"
#include "simulator/failure.h"
#include "simulator/services/messages.h"
#include "simulator/standard_error.h"

namespace sim {
namespace {

using protocol::byte_view;
using protocol::qmi::error;

constexpr std::uint8_t type_tlv = 0x01;
constexpr std::uint8_t data_len_tlv = 0x02;
constexpr std::uint8_t payload_tlv = 0x10;
constexpr std::size_t payload_size = norvel_extend_qmi_max_data_v01;

constexpr std::uint32_t success = 0;

struct extension_request {
  std::uint32_t type = 0;
  byte_view data;  ///< the bytes that count
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

extension_response echo(const extension_call& call) {
  std::ranges::copy(call.data, call.payload.begin());
  return {success, call.data.size()};
}

constexpr extension_type_row types[] = {
    {0, echo, nullptr, nullptr},
    {1, echo, nullptr, nullptr},
    {2, answer_nvefs, describe_nvefs_request, describe_nvefs_answer},
    {3, echo, nullptr, nullptr},
    {4, answer_common, describe_common_request, describe_common_answer},
    {5, echo, nullptr, nullptr},
};

const extension_type_row* find_type(std::uint32_t type) {
  const auto* const row = std::ranges::find(types, type, &extension_type_row::type);
  return row == std::end(types) ? nullptr : row;
}

reply answer(const request& asked) {
  extension_request parsed;
  if (const error wrong = parse(asked.tlvs, parsed); wrong != error::none) return wrong;

  std::array<std::uint8_t, payload_size> payload{};
  extension_response response;
  if (const auto* const row = find_type(parsed.type)) {
    response = row->answer({asked.from, parsed.data, payload, asked.state});
  }
  reply out;
  out.restart = response.restart;
  out.tlvs.integer(extension_result_tlv, response.result)
      .integer(data_len_tlv, static_cast<std::uint32_t>(response.data_len));
  if (response.result == success) out.tlvs.bytes(payload_tlv, payload);
  return out;
}

std::string describe_request(byte_view request) {
  extension_request parsed;
  if (parse(request, parsed) != error::none) return {};
  const auto* const row = find_type(parsed.type);
  return row == nullptr || row->describe_request == nullptr ? ""
                                                            : row->describe_request(parsed.data);
}

std::string describe_answer(byte_view request, byte_view answer) {
  extension_request parsed;
  const auto payload = protocol::qmi::find_tlv(answer, payload_tlv);
  if (!payload || parse(request, parsed) != error::none) return {};
  const auto* const row = find_type(parsed.type);
  if (row == nullptr || row->describe_answer == nullptr) return {};
  return row->describe_answer(parsed.data, *payload);
}

constexpr tlv_row request_tlvs[] = {
    {0x01, "type"},
    {0x02, "data_len"},
    {0x10, "payload", shown_as::bytes},
};
constexpr tlv_row response_tlvs[] = {
    {0x01, "result"},
    {0x02, "data_len"},
    {0x10, "payload", shown_as::bytes},
};
constexpr message_row rows[] = {
    {norvel_extend_qmi_request_v01, "exchange", answer, request_tlvs, response_tlvs,
     describe_request, describe_answer},
    {norvel_extend_qmi_message_3_v01, "exchange 3", answer, request_tlvs, response_tlvs,
     describe_request, describe_answer},
};

}  // namespace

std::span<const message_row> extension_messages() {
  return rows;
}

std::string words_of(outcome result) {
  switch (result) {
    case outcome::ok:
      return "ok";
    case outcome::not_found:
      return "not found";
    case outcome::io_error:
      return "state not usable";
    case outcome::bad_argument:
      return "bad argument";
    case outcome::too_large:
      return "too large";
    case outcome::out_of_order:
      return "out of order";
  }
  return "?";
}

outcome outcome_of(const std::function<outcome()>& act) try {
  return act();
} catch (const failure& state_failed) {
  tell_user(state_failed.what());
  return outcome::io_error;
}

}  // namespace sim
