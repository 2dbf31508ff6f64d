// A service of the modem is a row, and so is each message that it answers.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "protocol/qmi_message.h"
#include "simulator/port.h"

namespace sim {

struct modem;

struct request {
  const client& from;
  protocol::byte_view tlvs;  ///< well formed as far as lengths go
  modem& state;
};

/// What the modem sends unasked.
struct indication {
  client to;
  std::uint16_t message_id = 0;
  std::vector<std::uint8_t> tlvs;
  std::uint32_t service = 0;  ///< 0: the one that answers
};

/// What a request comes to: the answer's TLVs, and what happens once the answer is on its way.
struct reply {
  /// No TLVs yet.
  reply() = default;
  /// A standard response; after success more TLVs may follow.
  reply(protocol::qmi::error code) : result(code) { tlvs.standard_response(code); }
  /// Success and these TLVs.
  reply(const protocol::qmi::tlv_writer& values) : reply(protocol::qmi::error::none) {
    tlvs.append(values.view());
  }

  protocol::qmi::error result = protocol::qmi::error::none;
  protocol::qmi::tlv_writer tlvs;
  std::vector<indication> indications;  ///< in this order
  bool restart = false;                 ///< of the modem, after the indications
};

/// Thrown by a handler that ends early, as most do for a request that cannot be carried out.
struct refused {
  reply answer;
};

using message_handler = reply (*)(const request& asked);

/// Describes in words what the TLVs of a request ask for, or what the answer to it says.
using request_words = std::string (*)(protocol::byte_view request);
using answer_words = std::string (*)(protocol::byte_view request, protocol::byte_view answer);

/// How the trace shows a value of 1, 2, 4 or 8 bytes; any other size is shown as bytes.
enum class shown_as : std::uint8_t { number, bytes };

/// What the trace calls a TLV.
struct tlv_row {
  constexpr tlv_row(std::uint8_t tlv, const char* called, shown_as small = shown_as::number)
      : name(called), type(tlv), small_value(small) {}

  const char* name;
  std::uint8_t type;
  shown_as small_value;
};

struct message_row {
  std::uint16_t id;
  const char* name;
  message_handler answer;  ///< null: only an indication
  std::span<const tlv_row> request_tlvs = {};
  std::span<const tlv_row> response_tlvs = {};  ///< after the standard response
  request_words describe_request = nullptr;     ///< null: the TLVs suffice
  answer_words describe_answer = nullptr;
  std::span<const tlv_row> indication_tlvs = {};
};

/// For a service whose answers begin with a standard response.
constexpr std::uint8_t no_result_tlv = 0;

struct service_row {
  const char* name;
  std::uint32_t id;
  std::uint8_t version;     ///< IDL major version
  std::uint8_t result_tlv;  ///< the u32 in responses that is the service's own result, or none
  std::span<const message_row> messages;

  [[nodiscard]] const message_row* find(std::uint16_t message_id) const {
    for (const message_row& row : messages) {
      if (row.id == message_id) return &row;
    }
    return nullptr;
  }
};

}  // namespace sim
