#include "decode/signalling/gsmtap.h"

#include <algorithm>

#include "decode/signalling/big_endian.h"

namespace decode::signalling {

void write_gsmtap_header(const message& one, char* out) {
  constexpr std::uint8_t version = 2;
  constexpr std::uint8_t header_words = gsmtap_header_size / 4;
  constexpr std::uint16_t uplink_bit = 0x4000;
  constexpr std::uint32_t most_channel = 0x3FFF;
  const auto number = one.channel.value_or(0);
  auto channel = static_cast<std::uint16_t>(number <= most_channel ? number : 0);
  if (one.way == direction::up) channel |= uplink_bit;
  std::fill_n(out, gsmtap_header_size, '\0');
  out[0] = version;
  out[1] = header_words;
  out[2] = static_cast<char>(row_of(one.what.of).gsmtap_type);
  put_big_endian(channel, out + 4);
  put_big_endian(std::uint32_t{one.frame.value_or(0)}, out + 8);
  out[12] = static_cast<char>(one.what.number);
}

}  // namespace decode::signalling
