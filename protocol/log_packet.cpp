#include "protocol/log_packet.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace protocol::diag {
namespace {

constexpr std::int64_t epoch = 315964800LL * 1'000'000;  // 1980-01-06 in Unix time
constexpr std::uint64_t tick_microseconds = 1250;
constexpr std::uint64_t tick_parts = 49152;
constexpr unsigned tick_shift = 16;

constexpr std::size_t radio_header_size = 8;
constexpr std::uint32_t all_radios = 0xFFFFFFFF;

constexpr std::size_t inner_log_at = 4;
constexpr std::size_t inner_header_size = 12;

constexpr std::size_t report_header_size = 3;
constexpr std::uint16_t event_id_mask = 0x0FFF;
constexpr unsigned form_shift = 13;
constexpr unsigned form_mask = 3;
constexpr unsigned form_counted = 3;  // a length byte precedes the payload
constexpr std::uint16_t truncated_bit = 0x8000;

// A truncated time consists of bits 8-23 of the full one.
constexpr unsigned truncated_shift = 8;
constexpr time_stamp below_truncated = 0xFF;
constexpr time_stamp up_to_truncated = 0xFFFFFF;

/// The first time with these bits that is not before `full`, the report's last full time.
time_stamp complete(std::uint16_t truncated, time_stamp full) {
  const time_stamp time = (full & ~up_to_truncated) | time_stamp{truncated} << truncated_shift;
  return time < (full & ~below_truncated) ? time + up_to_truncated + 1 : time;
}

}  // namespace

std::int64_t to_unix_microseconds(time_stamp time) {
  const std::uint64_t ticks = time >> tick_shift;
  const std::uint64_t parts = time & 0xFFFF;
  return epoch + static_cast<std::int64_t>(ticks * tick_microseconds +
                                           parts * tick_microseconds / tick_parts);
}

time_stamp from_unix_microseconds(std::int64_t microseconds) {
  const auto since = static_cast<std::uint64_t>(std::max<std::int64_t>(microseconds - epoch, 0));
  return since / tick_microseconds << tick_shift |
         since % tick_microseconds * tick_parts / tick_microseconds;
}

std::optional<radio_packet> unwrap_radio(byte_view packet) {
  if (packet.empty()) return std::nullopt;
  if (packet[0] != radio_code) return radio_packet{.radio = 1, .packet = packet};
  if (packet.size() <= radio_header_size) return std::nullopt;
  const auto number = load_le<std::uint32_t>(packet.subspan(4));
  return radio_packet{.radio = number == 0 || number == all_radios ? 1 : number,
                      .packet = packet.subspan(radio_header_size)};
}

std::optional<log_packet> parse_log(byte_view packet) {
  if (packet.size() < inner_log_at || packet[0] != log_code) return std::nullopt;
  const byte_view inner = packet.subspan(inner_log_at);
  if (load_le<std::uint16_t>(packet.subspan(2)) != inner.size()) return std::nullopt;
  return parse_inner_log(inner);
}

std::optional<log_packet> parse_inner_log(byte_view inner) {
  if (inner.size() < inner_header_size || load_le<std::uint16_t>(inner) != inner.size()) {
    return std::nullopt;
  }
  return log_packet{.code = load_le<std::uint16_t>(inner.subspan(2)),
                    .time = load_le<time_stamp>(inner.subspan(4)),
                    .payload = inner.subspan(inner_header_size)};
}

std::vector<std::uint8_t> build_log(const log_packet& log) {
  const auto length = static_cast<std::uint16_t>(inner_header_size + log.payload.size());
  assert(length == inner_header_size + log.payload.size());
  std::vector<std::uint8_t> packet(inner_log_at + length);
  const std::span out(packet);
  out[0] = log_code;
  store_le(length, out.subspan(2));
  store_le(length, out.subspan(4));
  store_le(log.code, out.subspan(6));
  store_le(log.time, out.subspan(8));
  std::ranges::copy(log.payload, out.subspan(inner_log_at + inner_header_size).begin());
  return packet;
}

event_reader::event_reader(byte_view report) {
  if (report.size() < report_header_size || report[0] != event_code) {
    damaged_ = true;
    return;
  }
  const std::size_t length = load_le<std::uint16_t>(report.subspan(1));
  rest_ = report.subspan(report_header_size);
  damaged_ = length != rest_.size();
  rest_ = rest_.first(std::min(length, rest_.size()));
}

std::optional<event> event_reader::next() {
  if (rest_.empty()) return std::nullopt;
  byte_reader in(rest_);
  rest_ = {};  // where the next event starts is unknown after an incomplete one
  const bool damaged_so_far = std::exchange(damaged_, true);

  const auto word = in.take<std::uint16_t>();
  if (!word) return std::nullopt;
  event one{.id = static_cast<std::uint16_t>(*word & event_id_mask), .time = 0, .payload = {}};
  if ((*word & truncated_bit) != 0) {
    const auto bits = in.take<std::uint16_t>();
    if (!bits || !last_full_) return std::nullopt;
    one.time = complete(*bits, *last_full_);
  } else {
    const auto full = in.take<time_stamp>();
    if (!full) return std::nullopt;
    one.time = *full;
  }

  std::size_t size = *word >> form_shift & form_mask;
  if (size == form_counted) {
    const auto counted = in.take<std::uint8_t>();
    if (!counted) return std::nullopt;
    size = *counted;
  }
  const auto payload = in.take_bytes(size);
  if (!payload) return std::nullopt;
  one.payload = *payload;

  if ((*word & truncated_bit) == 0) last_full_ = one.time;
  rest_ = in.rest();
  damaged_ = damaged_so_far;
  return one;
}

std::vector<std::uint8_t> build_event_report(const event& one) {
  assert(one.id <= event_id_mask && one.payload.size() <= 0xFF);
  const bool counted = one.payload.size() >= form_counted;
  const unsigned form = counted ? form_counted : static_cast<unsigned>(one.payload.size());
  std::vector<std::uint8_t> packet{event_code, 0, 0};
  append_le(packet, static_cast<std::uint16_t>(one.id | form << form_shift));
  append_le(packet, one.time);
  if (counted) packet.push_back(static_cast<std::uint8_t>(one.payload.size()));
  const std::size_t head = packet.size();
  packet.resize(head + one.payload.size());
  std::ranges::copy(one.payload, packet.begin() + static_cast<std::ptrdiff_t>(head));
  store_le(static_cast<std::uint16_t>(packet.size() - report_header_size),
           std::span(packet).subspan(1));
  return packet;
}

}  // namespace protocol::diag
