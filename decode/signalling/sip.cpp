// Log 0x156E, SIP messages.
#include "decode/signalling/reading.h"

namespace decode::signalling {

using modem_stats::rejection;
using protocol::byte_view;
using protocol::load_le;

reading read_sip(std::uint16_t /*code*/, byte_view payload, scratch& /*room*/) {
  constexpr std::uint8_t known_version = 1;
  constexpr std::size_t direction_at = 1;
  constexpr std::size_t call_id_length_at = 3;
  constexpr std::size_t logged_bytes_at = 6;
  constexpr std::size_t header_size = 16;
  if (payload.empty()) return rejected(rejection::length, 0);
  const std::uint8_t version = payload[0];
  if (version != known_version) return rejected(rejection::version, version);
  if (payload.size() < header_size) return rejected(rejection::length, version);
  const std::size_t text_at = header_size + payload[call_id_length_at];
  if (payload.size() < text_at) return rejected(rejection::length, version);
  byte_view text = payload.subspan(text_at);
  auto wrong = check_length(load_le<std::uint16_t>(payload.subspan(logged_bytes_at)), text.size());
  // Its last byte is a NUL.
  if (wrong == rejection::none && (payload[direction_at] > 1 || text.size() == 1)) {
    wrong = rejection::value;
  }
  if (wrong != rejection::none) return rejected(wrong, version);
  if (text.back() == 0) text = text.first(text.size() - 1);
  return accepted({.what = {family::sip, 0},
                   .way = payload[direction_at] == 0 ? direction::down : direction::up,
                   .bytes = text,
                   .version = version});
}

}  // namespace decode::signalling
