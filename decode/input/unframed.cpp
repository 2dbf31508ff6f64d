#include "decode/input/unframed.h"

#include "protocol/hdlc.h"
#include "protocol/log_packet.h"

namespace decode {

namespace {

using protocol::byte_view;
using protocol::load_le;

constexpr std::size_t header_size = 12;
constexpr std::size_t time_at = 4;

/// Limit of a time's upper 16 bits: the year 2153. Bytes that are no packet usually exceed it.
constexpr unsigned last_time = 0x0400;

/// Consecutive headers needed before bytes are accepted as packets again.
constexpr int enough_headers = 3;

enum class header : std::uint8_t { good, bad, unfinished };

header look_at(byte_view bytes, std::size_t prefix, std::size_t& length) {
  if (bytes.size() < prefix + header_size) return header::unfinished;
  length = load_le<std::uint16_t>(bytes.subspan(prefix));
  if (length < header_size || length > protocol::hdlc::max_packet_size ||
      load_le<std::uint16_t>(bytes.subspan(prefix + 2)) == 0) {
    return header::bad;
  }
  if (prefix != 0 && (bytes[0] != protocol::diag::log_code ||
                      load_le<std::uint16_t>(bytes.subspan(2)) != length)) {
    return header::bad;
  }
  if (load_le<std::uint16_t>(bytes.subspan(prefix + time_at + 6)) >= last_time) return header::bad;
  return header::good;
}

/// False also when there are too few bytes for the first packet.
bool packets_follow(byte_view bytes, std::size_t prefix) {
  for (int i = 0; i < enough_headers; ++i) {
    std::size_t length = 0;
    const auto found = look_at(bytes, prefix, length);
    if (found != header::good) return found == header::unfinished && i > 0;
    if (bytes.size() < prefix + length) return i > 0;
    bytes = bytes.subspan(prefix + length);
  }
  return true;
}

}  // namespace

std::optional<byte_view> next_unframed(byte_view& bytes, std::size_t prefix,
                                       std::uint64_t& skipped) {
  bool in_step = true;
  for (;; bytes = bytes.subspan(1), ++skipped, in_step = false) {
    std::size_t length = 0;
    const auto found = look_at(bytes, prefix, length);
    if (found == header::unfinished) return std::nullopt;
    if (found == header::bad) continue;
    const std::size_t whole = prefix + length;
    if (in_step && bytes.size() < whole) return std::nullopt;
    if (!in_step && !packets_follow(bytes, prefix)) continue;
    const auto packet = bytes.subspan(prefix, length);
    bytes = bytes.subspan(whole);
    return packet;
  }
}

}  // namespace decode
