#include "protocol/diag_answer.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "protocol/diag_commands.h"
#include "protocol/log_packet.h"

namespace protocol::diag {
namespace {

constexpr std::array error_codes = {error_code::bad_command,     error_code::bad_parameter,
                                    error_code::bad_length,      error_code::bad_mode,
                                    error_code::bad_spc_mode,    error_code::bad_security_mode,
                                    error_code::bad_transaction, error_code::not_allowed};
constexpr std::array<std::uint8_t, 4> report_codes = {log_code, 0x79, 0x92, 0x99};
constexpr std::array<std::uint8_t, 3> no_events = {event_code, 0, 0};
constexpr std::size_t radio_header_size = 8;

/// How many bytes of the request an answer repeats; one, the code, for codes not listed.
struct repeated {
  std::uint8_t code;
  std::size_t bytes;
};
constexpr repeated repeated_bytes[] = {
    {nv_read, 3},    {nv_write, 3},       {subsystem_dispatch, 4},
    {log_config, 8}, {message_config, 2}, {delayed_subsystem_dispatch, 4},
};

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

/// The request that follows an error code may be truncated.
bool is_error_answer(byte_view request, byte_view packet) {
  if (packet.size() < 2 || !contains(error_codes, static_cast<error_code>(packet[0]))) return false;
  const byte_view echo = packet.subspan(1);
  return same_front(echo, request, std::min(echo.size(), request.size()));
}

}  // namespace

bool is_answer(byte_view request, byte_view packet) {
  if (request.empty() || packet.empty()) return false;
  if (is_error_answer(request, packet)) return true;
  if (packet[0] == radio_code) {
    return same_front(request, packet, radio_header_size) &&
           is_answer(request.subspan(radio_header_size), packet.subspan(radio_header_size));
  }
  if (packet[0] == event_code) {
    return request[0] == packet[0] && std::ranges::equal(packet, no_events);
  }
  if (contains(report_codes, packet[0])) return false;
  return same_front(request, packet, bytes_to_repeat(request));
}

bool is_last_answer(byte_view answer) {
  constexpr std::size_t header_size = 12;
  constexpr std::uint16_t max_last_count = 0x0FFF;
  if (answer[0] != delayed_subsystem_dispatch || answer.size() < header_size) return true;
  const auto delayed_id = load_le<std::uint16_t>(answer.subspan(8));
  const auto count = load_le<std::uint16_t>(answer.subspan(10));
  return delayed_id == 0 || (count >= 1 && count <= max_last_count);
}

}  // namespace protocol::diag
