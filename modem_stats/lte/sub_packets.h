// The sub-packets of LTE logs. Byte 1 of the packet is their number; they follow each other from
// byte 4 on, each starting with the head id u8, version u8, size u16 (in bytes, including the
// head).
#pragma once

#include "modem_stats/packet_decoder.h"

namespace modem_stats::lte {

constexpr unsigned max_sub_packets = 4;
constexpr unsigned sub_packet_head = 4;  // bytes

/// Calls decode(byte, version) with the block at `byte` for every sub-packet, each of which must
/// have this id. Returns their number.
template <typename Decode>
u8 for_each_sub_packet(packet_decoder& in, u8 id, const char* id_name, const Decode& decode) {
  const auto num_subpkt = in.bits(at_byte<u8>("num_subpkt", 1));
  if (!in.check_count(num_subpkt, max_sub_packets, "num_subpkt")) return num_subpkt;
  unsigned byte = 4;
  for (unsigned i = 0; i < num_subpkt && in.ok(); ++i) {
    in.block_at(byte);
    const auto id_found = in.bits(at_byte<u8>(id_name, 0));
    in.check_valid(id_found == id, id_found, id_name);
    const auto version_sub = in.bits(at_byte<u8>("version_sub", 1));
    const auto size = in.bits(at_byte<u16>("size_sub", 2));
    in.check_valid(size >= sub_packet_head, size, "size_sub");
    decode(byte, version_sub);
    byte += size;
  }
  return num_subpkt;
}

}  // namespace modem_stats::lte
