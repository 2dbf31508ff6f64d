#include "platform/linux/diag/answer.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "protocol/log_packet.h"

namespace diag {
namespace {

constexpr std::array<std::uint8_t, 8> error_codes = {0x13, 0x14, 0x15, 0x18,
                                                     0x42, 0x47, 0x95, 0x96};
constexpr std::array<std::uint8_t, 4> report_codes = {protocol::diag::log_code, 0x79, 0x92, 0x99};
constexpr std::array<std::uint8_t, 3> no_events = {protocol::diag::event_code, 0, 0};
constexpr std::size_t radio_header_size = 8;

constexpr std::uint8_t subsystem_code = 0x4B;
constexpr std::uint8_t delayed_subsystem_code = 0x80;

/// Bytes that an answer repeats where it is more than the code.
struct repeated {
  std::uint8_t code;
  std::size_t bytes;
};
constexpr repeated repeated_bytes[] = {
    {0x26, 3}, {0x27, 3}, {subsystem_code, 4}, {0x7D, 2}, {delayed_subsystem_code, 4},
};

constexpr std::array<std::uint8_t, 5> codes_refused_to_dci = {0x60, 0x73, 0x7D, 0x81, 0x82};
constexpr std::uint8_t diag_subsystem = 0x12;
constexpr std::array<std::uint16_t, 6> diag_commands_refused_to_dci = {0x60,  0x61,  0x62,
                                                                       0x20C, 0x20D, 0x218};

template <typename T, std::size_t Size>
constexpr bool contains(const std::array<T, Size>& all, T one) {
  return std::ranges::find(all, one) != all.end();
}

bool same_front(byte_view a, byte_view b, std::size_t count) {
  return a.size() >= count && b.size() >= count &&
         std::ranges::equal(a.first(count), b.first(count));
}

std::size_t bytes_to_repeat(byte_view request) {
  const auto* row = std::ranges::find(repeated_bytes, request[0], &repeated::code);
  return row == std::end(repeated_bytes) ? 1 : std::min(row->bytes, request.size());
}

/// A modem may cut the request that it repeats behind an error code.
bool is_error_answer(byte_view request, byte_view packet) {
  if (packet.size() < 2 || !contains(error_codes, packet[0])) return false;
  const byte_view echo = packet.subspan(1);
  return same_front(echo, request, std::min(echo.size(), request.size()));
}

}  // namespace

bool is_answer(byte_view request, byte_view packet) {
  if (request.empty() || packet.empty()) return false;
  if (is_error_answer(request, packet)) return true;
  if (packet[0] == protocol::diag::radio_code) {
    return same_front(request, packet, radio_header_size) &&
           is_answer(request.subspan(radio_header_size), packet.subspan(radio_header_size));
  }
  if (packet[0] == protocol::diag::event_code) {
    return request[0] == packet[0] && std::ranges::equal(packet, no_events);
  }
  if (contains(report_codes, packet[0])) return false;
  return same_front(request, packet, bytes_to_repeat(request));
}

bool is_last_answer(byte_view answer) {
  constexpr std::size_t header_size = 12;
  constexpr std::uint16_t max_last_count = 0x0FFF;
  if (answer[0] != delayed_subsystem_code || answer.size() < header_size) return true;
  const auto delayed_id = protocol::load_le<std::uint16_t>(answer.subspan(8));
  const auto count = protocol::load_le<std::uint16_t>(answer.subspan(10));
  return delayed_id == 0 || (count >= 1 && count <= max_last_count);
}

bool is_refused_to_dci(byte_view request) {
  if (contains(codes_refused_to_dci, request[0])) return true;
  return request.size() >= 4 && request[0] == subsystem_code && request[1] == diag_subsystem &&
         contains(diag_commands_refused_to_dci,
                  protocol::load_le<std::uint16_t>(request.subspan(2)));
}

}  // namespace diag
