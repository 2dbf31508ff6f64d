#include "decode/diag_masks.h"

#include <algorithm>

#include "protocol/log_packet.h"

namespace decode {

namespace {

using protocol::append_le;
using protocol::byte_view;
using protocol::load_le;

constexpr std::uint8_t log_config = 0x73;
constexpr std::uint8_t event_mask_get = 0x81;
constexpr std::uint8_t event_mask_set = 0x82;

enum log_operation : std::uint32_t { ranges = 1, set_mask = 3, get_mask = 4 };

// Of a log configuration answer: code and three zeros, then u32 operation, u32 status.
constexpr std::size_t operation_at = 4;
constexpr std::size_t status_at = 8;
constexpr std::size_t log_data_at = 12;

// Of an event mask answer: code, u8 status, u16 0, u16 bits, then the mask.
constexpr std::size_t event_bits_at = 4;
constexpr std::size_t event_mask_at = 6;

diag_packet log_request(log_operation operation) {
  diag_packet packet{log_config, 0, 0, 0};
  append_le<std::uint32_t>(packet, operation);
  return packet;
}

diag_packet log_request(log_operation operation, unsigned equipment) {
  auto packet = log_request(operation);
  append_le<std::uint32_t>(packet, equipment);
  return packet;
}

bool is_good_log_answer(byte_view answer, log_operation operation, std::size_t size) {
  return answer.size() >= size && answer[0] == log_config &&
         load_le<std::uint32_t>(answer.subspan(operation_at)) == operation &&
         load_le<std::uint32_t>(answer.subspan(status_at)) == 0;
}

std::optional<bit_mask> mask_of(std::uint32_t bits, byte_view bytes) {
  const std::size_t size = (std::size_t{bits} + 7) / 8;
  if (bytes.size() < size) return std::nullopt;
  return bit_mask{bits, {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)}};
}

bool is_error(std::uint8_t code) {
  constexpr std::uint8_t errors[] = {0x13, 0x14, 0x15, 0x18, 0x42, 0x47};
  return std::ranges::find(errors, code) != std::end(errors);
}

}  // namespace

void bit_mask::set(std::size_t bit) {
  if (bit >= bits) return;
  bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] | 1U << bit % 8);
}

void bit_mask::add(const bit_mask& other) {
  const auto common = std::min(bytes.size(), other.bytes.size());
  for (std::size_t i = 0; i < common; ++i) bytes[i] |= other.bytes[i];
}

bit_mask empty_mask(std::uint32_t bits) {
  return {bits, std::vector<std::uint8_t>((std::size_t{bits} + 7) / 8)};
}

diag_packet get_log_ranges() {
  return log_request(ranges);
}

diag_packet get_log_mask(unsigned equipment) {
  return log_request(get_mask, equipment);
}

diag_packet set_log_mask(unsigned equipment, const bit_mask& mask) {
  auto packet = log_request(set_mask, equipment);
  append_le(packet, mask.bits);
  for (const auto byte : mask.bytes) packet.push_back(byte);
  return packet;
}

diag_packet get_event_mask() {
  return {event_mask_get, 0, 0, 0};
}

diag_packet set_event_mask(const bit_mask& mask) {
  diag_packet packet{event_mask_set, 0, 0, 0};
  append_le(packet, static_cast<std::uint16_t>(mask.bits));
  for (const auto byte : mask.bytes) packet.push_back(byte);
  return packet;
}

diag_packet report_events(bool on) {
  return {protocol::diag::event_code, static_cast<std::uint8_t>(on ? 1 : 0)};
}

bool is_answer(byte_view packet, byte_view request) {
  if (packet.empty()) return false;
  if (is_error(packet[0])) return packet.size() > 1 && packet[1] == request[0];
  if (packet[0] != request[0]) return false;
  // An event report that answers its switch has nothing in it.
  if (packet[0] == protocol::diag::event_code) return packet.size() == 3;
  if (packet[0] != log_config) return true;
  return packet.size() >= status_at &&
         std::ranges::equal(packet.subspan(operation_at, 4), request.subspan(operation_at, 4));
}

std::optional<std::array<std::uint32_t, num_equipments>> log_ranges(byte_view answer) {
  std::array<std::uint32_t, num_equipments> bits{};
  if (!is_good_log_answer(answer, ranges, log_data_at + 4 * bits.size())) return std::nullopt;
  for (std::size_t i = 0; i < bits.size(); ++i) {
    // An item has 12 bits; more would make requests without end.
    bits[i] = std::min(load_le<std::uint32_t>(answer.subspan(log_data_at + 4 * i)), 4096U);
  }
  return bits;
}

std::optional<bit_mask> log_mask(byte_view answer) {
  if (!is_good_log_answer(answer, get_mask, log_data_at + 8)) return std::nullopt;
  return mask_of(load_le<std::uint32_t>(answer.subspan(log_data_at + 4)),
                 answer.subspan(log_data_at + 8));
}

std::optional<bit_mask> event_mask(byte_view answer) {
  if (answer.size() < event_mask_at || answer[0] != event_mask_get || answer[1] != 0) {
    return std::nullopt;
  }
  return mask_of(load_le<std::uint16_t>(answer.subspan(event_bits_at)),
                 answer.subspan(event_mask_at));
}

bool is_done(byte_view answer) {
  if (answer.empty()) return false;
  if (answer[0] == log_config) return is_good_log_answer(answer, set_mask, log_data_at);
  return answer[0] == event_mask_set && answer.size() > 1 && answer[1] == 0;
}

}  // namespace decode
