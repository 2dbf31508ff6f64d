#include "decode/live/mask_requests.h"

#include <algorithm>

#include "protocol/diag_commands.h"

namespace decode {

namespace {

using protocol::append_le;
using protocol::byte_view;
using protocol::load_le;
using protocol::diag::event_control;
using protocol::diag::event_mask_get;
using protocol::diag::event_mask_set;
using protocol::diag::log_config;
using protocol::diag::log_operation;

// Offsets in a log configuration answer: code and three zeros, then u32 operation, u32 status.
constexpr std::size_t operation_at = 4;
constexpr std::size_t status_at = 8;
constexpr std::size_t log_data_at = 12;

// Offsets in an event mask answer: code, u8 status, u16 0, u16 bits, then the mask.
constexpr std::size_t event_bits_at = 4;
constexpr std::size_t event_mask_at = 6;

diag_packet log_request(log_operation operation) {
  diag_packet packet{log_config, 0, 0, 0};
  append_le(packet, static_cast<std::uint32_t>(operation));
  return packet;
}

diag_packet log_request(log_operation operation, unsigned equipment) {
  auto packet = log_request(operation);
  append_le<std::uint32_t>(packet, equipment);
  return packet;
}

bool is_good_log_answer(byte_view answer, log_operation operation, std::size_t size) {
  return answer.size() >= size && answer[0] == log_config &&
         load_le<std::uint32_t>(answer.subspan(operation_at)) ==
             static_cast<std::uint32_t>(operation) &&
         load_le<std::uint32_t>(answer.subspan(status_at)) == 0;
}

std::optional<bit_mask> mask_of(std::uint32_t bits, byte_view bytes) {
  const std::size_t size = (std::size_t{bits} + 7) / 8;
  if (bytes.size() < size) return std::nullopt;
  return bit_mask{bits, {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)}};
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

void bit_mask::remove(const bit_mask& other) {
  const auto common = std::min(bytes.size(), other.bytes.size());
  for (std::size_t i = 0; i < common; ++i) {
    bytes[i] = static_cast<std::uint8_t>(bytes[i] & ~other.bytes[i]);
  }
}

bool bit_mask::any() const {
  return std::ranges::any_of(bytes, [](std::uint8_t byte) { return byte != 0; });
}

bit_mask empty_mask(std::uint32_t bits) {
  return {bits, std::vector<std::uint8_t>((std::size_t{bits} + 7) / 8)};
}

diag_packet get_log_ranges() {
  return log_request(log_operation::ranges);
}

diag_packet get_log_mask(unsigned equipment) {
  return log_request(log_operation::get_mask, equipment);
}

diag_packet set_log_mask(unsigned equipment, const bit_mask& mask) {
  auto packet = log_request(log_operation::set_mask, equipment);
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
  return {event_control, static_cast<std::uint8_t>(on ? 1 : 0)};
}

std::optional<std::array<std::uint32_t, num_equipments>> log_ranges(byte_view answer) {
  std::array<std::uint32_t, num_equipments> bits{};
  if (!is_good_log_answer(answer, log_operation::ranges, log_data_at + 4 * bits.size()))
    return std::nullopt;
  for (std::size_t i = 0; i < bits.size(); ++i) {
    // Items have 12 bits. Without the limit a bad answer would lead to enormous requests.
    bits[i] = std::min(load_le<std::uint32_t>(answer.subspan(log_data_at + 4 * i)), 4096U);
  }
  return bits;
}

std::optional<bit_mask> log_mask(byte_view answer) {
  if (!is_good_log_answer(answer, log_operation::get_mask, log_data_at + 8)) return std::nullopt;
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
  if (answer[0] == log_config)
    return is_good_log_answer(answer, log_operation::set_mask, log_data_at);
  return answer[0] == event_mask_set && answer.size() > 1 && answer[1] == 0;
}

}  // namespace decode
