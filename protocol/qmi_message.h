// QMI service messages as a QRTR datagram carries them:
//   control flags u8 | transaction id u16 | message id u16 | TLV bytes u16 | TLVs
//   TLV: type u8 | length u16 | value
// All integers are little-endian. The datagram ends where the TLVs end.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <vector>

#include "protocol/bytes.h"

namespace protocol::qmi {

enum class message_kind : std::uint8_t { request = 0, response = 2, indication = 4 };

constexpr std::size_t header_size = 7;
constexpr std::size_t tlv_header_size = 3;

/// TLV types from here on are optional: a receiver skips types that it does not know.
constexpr std::uint8_t first_optional_tlv = 0x10;
/// The standard response: u16 result (0 success, 1 failure), u16 error.
constexpr std::uint8_t standard_response_tlv = 0x02;

enum class error : std::uint16_t {
  none = 0,
  malformed_message = 1,
  no_memory = 2,
  internal = 3,
  client_ids_exhausted = 5,
  invalid_client_id = 7,
  invalid_handle = 9,
  invalid_profile = 10,
  incorrect_pin = 12,
  call_failed = 14,
  out_of_call = 15,
  not_provisioned = 16,
  missing_argument = 17,
  device_in_use = 23,
  no_effect = 26,
  invalid_service_type = 31,
  authentication_failed = 34,
  pin_blocked = 35,
  sim_not_initialized = 37,
  invalid_id = 41,
  invalid_argument = 48,
  network_not_ready = 53,
  invalid_message_id = 57,
  invalid_transition = 60,
  insufficient_resources = 68,
  disabled = 69,
  invalid_qmi_command = 71,
  information_unavailable = 74,
  sim_file_not_found = 80,
  extended_internal = 81,
  not_supported = 94,
  no_sim = 102,
};

struct header {
  message_kind kind = message_kind::request;
  std::uint16_t transaction = 0;
  std::uint16_t message_id = 0;
  std::uint16_t tlv_length = 0;

  friend bool operator==(const header&, const header&) = default;
};

/// No value for fewer than seven bytes or an unknown kind. Does not compare tlv_length with the
/// bytes that follow.
[[nodiscard]] std::optional<header> parse_header(byte_view datagram);

/// Writes header_size bytes.
void write_header(const header& head, std::span<std::uint8_t> out);

struct message {
  header head;
  byte_view tlvs;
};

/// No value unless the datagram is a header and exactly the TLV bytes that it announces.
[[nodiscard]] std::optional<message> parse_message(byte_view datagram);

struct tlv {
  std::uint8_t type = 0;
  byte_view value;
};

/// Walks TLV bytes. After the last `next()`, `malformed()` is true if bytes were left over.
class tlv_reader {
 public:
  explicit tlv_reader(byte_view tlvs) : in_(tlvs) {}

  [[nodiscard]] std::optional<tlv> next();
  [[nodiscard]] bool malformed() const { return malformed_; }

 private:
  byte_reader in_;
  bool malformed_ = false;
};

[[nodiscard]] bool well_formed(byte_view tlvs);

/// The value of the first TLV of this type.
[[nodiscard]] std::optional<byte_view> find_tlv(byte_view tlvs, std::uint8_t type);

/// The value of a TLV that consists of exactly one integer.
template <std::unsigned_integral T>
[[nodiscard]] std::optional<T> find_integer(byte_view tlvs, std::uint8_t type) {
  const auto value = find_tlv(tlvs, type);
  if (!value || value->size() != sizeof(T)) return std::nullopt;
  return load_le<T>(*value);
}

/// Builds the TLV bytes of one message.
class tlv_writer {
 public:
  template <std::unsigned_integral T>
  tlv_writer& integer(std::uint8_t type, T value) {
    start(type, sizeof(T));
    append_le(bytes_, value);
    return *this;
  }
  tlv_writer& bytes(std::uint8_t type, byte_view value);
  tlv_writer& standard_response(error code);
  /// TLVs that are complete.
  tlv_writer& append(byte_view tlvs) {
    bytes_.insert(bytes_.end(), tlvs.begin(), tlvs.end());
    return *this;
  }

  /// Empties the writer; keeps its memory.
  void clear() { bytes_.clear(); }

  [[nodiscard]] const std::vector<std::uint8_t>& view() const { return bytes_; }
  [[nodiscard]] std::vector<std::uint8_t> take() { return std::move(bytes_); }

 private:
  void start(std::uint8_t type, std::size_t length);

  std::vector<std::uint8_t> bytes_;
};

[[nodiscard]] std::vector<std::uint8_t> build_message(message_kind kind, std::uint16_t transaction,
                                                      std::uint16_t message_id, byte_view tlvs);

}  // namespace protocol::qmi
