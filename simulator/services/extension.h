// What the types of extension requests have in common: bytes in, bytes out, and the results in
// those answers that carry one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "simulator/modem/modem.h"
#include "simulator/service.h"

namespace sim {

/// Of responses that are not a standard one.
inline constexpr std::uint8_t extension_result_tlv = 0x01;

/// As Unix numbers them.
enum class outcome : std::int32_t {
  ok = 0,
  not_found = 2,  ///< no such item or file
  io_error = 5,   ///< the state could not be read or written
  bad_argument = 22,
  too_large = 27,
  out_of_order = 29,  ///< a chunk that does not continue the last, or an offset past the end
};

[[nodiscard]] std::string words_of(outcome result);

struct extension_call {
  const client& from;
  protocol::byte_view data;         ///< the request's bytes that count
  std::span<std::uint8_t> payload;  ///< the answer's, initially zeros
  modem& state;
};

/// Result and data_len of an answer; without success it has no payload.
struct extension_response {
  std::uint32_t result = 3;  ///< not there
  std::size_t data_len = 0;
  bool restart = false;  ///< of the modem, after the answer
};

struct extension_type_row {
  std::uint32_t type;
  extension_response (*answer)(const extension_call& call);
  /// For the trace; null where the bytes suffice.
  std::string (*describe_request)(protocol::byte_view data);
  std::string (*describe_answer)(protocol::byte_view request, protocol::byte_view answer);
};

/// Runs `act`, which may change the state; a failure is reported on standard error.
[[nodiscard]] outcome outcome_of(const std::function<outcome()>& act);

extension_response answer_nvefs(const extension_call& call);
std::string describe_nvefs_request(protocol::byte_view data);
std::string describe_nvefs_answer(protocol::byte_view request, protocol::byte_view answer);

extension_response answer_common(const extension_call& call);
std::string describe_common_request(protocol::byte_view data);
std::string describe_common_answer(protocol::byte_view request, protocol::byte_view answer);

}  // namespace sim
