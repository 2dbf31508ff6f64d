#include "decode/input/unframed.h"

#include "protocol/log_packet.h"

namespace decode {

namespace {

using protocol::byte_view;
using protocol::load_le;

constexpr std::size_t header_size = 12;

enum class header : std::uint8_t { good, bad, unfinished };

header look_at(byte_view bytes, std::size_t prefix, std::size_t& length) {
  if (bytes.size() < prefix + header_size) return header::unfinished;
  length = load_le<std::uint16_t>(bytes.subspan(prefix));
  if (length < header_size || load_le<std::uint16_t>(bytes.subspan(prefix + 2)) == 0) {
    return header::bad;
  }
  if (prefix != 0 && (bytes[0] != protocol::diag::log_code ||
                      load_le<std::uint16_t>(bytes.subspan(2)) != length)) {
    return header::bad;
  }
  return header::good;
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
    if (bytes.size() < whole) {
      if (in_step) return std::nullopt;
      continue;
    }
    std::size_t next_length = 0;
    if (!in_step && look_at(bytes.subspan(whole), prefix, next_length) == header::bad) continue;
    const auto packet = bytes.subspan(prefix, length);
    bytes = bytes.subspan(whole);
    return packet;
  }
}

}  // namespace decode
