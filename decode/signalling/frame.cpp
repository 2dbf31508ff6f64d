#include "decode/signalling/frame.h"

#include <algorithm>

#include "decode/signalling/big_endian.h"
#include "decode/signalling/gsmtap.h"

namespace decode::signalling {

namespace {

/// IPv4 and UDP from this machine to itself.
char* write_udp_headers(std::size_t payload_size, char* out) {
  constexpr std::size_t ip_header_size = 20;
  constexpr std::size_t udp_header_size = 8;
  constexpr std::uint32_t loopback = 0x7F000001;
  constexpr std::uint16_t ip_words[] = {0x4500, 0, 0, 0x4000, 0x4011};  // the second is the length
  const auto udp_size = static_cast<std::uint16_t>(udp_header_size + payload_size);
  const auto ip_size = static_cast<std::uint16_t>(ip_header_size + udp_size);
  std::uint32_t sum = std::uint32_t{ip_size} + 2 * ((loopback >> 16) + (loopback & 0xFFFF));
  for (const auto word : ip_words) sum += word;
  sum = (sum & 0xFFFF) + (sum >> 16);
  sum = (sum & 0xFFFF) + (sum >> 16);
  out = put_big_endian(ip_words[0], out);
  out = put_big_endian(ip_size, out);
  for (const auto word : {ip_words[2], ip_words[3], ip_words[4]}) out = put_big_endian(word, out);
  out = put_big_endian(static_cast<std::uint16_t>(~sum & 0xFFFF), out);
  out = put_big_endian(loopback, out);
  out = put_big_endian(loopback, out);
  out = put_big_endian(gsmtap_port, out);
  out = put_big_endian(gsmtap_port, out);
  out = put_big_endian(udp_size, out);
  return put_big_endian(std::uint16_t{0}, out);  // no checksum
}

char* write_tag(std::uint16_t tag, std::uint16_t size, char* out) {
  return put_big_endian(size, put_big_endian(tag, out));
}

char* write_exported_tags(const message& one, char* out) {
  constexpr std::uint16_t dissector_tag = 12;
  constexpr std::uint16_t direction_tag = 35;
  constexpr std::uint16_t end_tag = 0;
  const auto name = name_of(one.what);
  const auto padded = (name.size() + 3) / 4 * 4;
  out = write_tag(dissector_tag, static_cast<std::uint16_t>(padded), out);
  std::fill(std::copy(name.begin(), name.end(), out), out + padded, '\0');
  out += padded;
  if (one.way != direction::unknown) {
    out = write_tag(direction_tag, sizeof(std::uint32_t), out);
    out = put_big_endian(std::uint32_t{one.way == direction::up ? 0U : 1U}, out);
  }
  return write_tag(end_tag, 0, out);
}

}  // namespace

std::uint16_t link_of(const message& one) {
  return row_of(one.what.of).by == carrier::gsmtap ? raw_ip_link : exported_pdu_link;
}

char* write_frame_header(const message& one, char* out) {
  if (link_of(one) == exported_pdu_link) return write_exported_tags(one, out);
  out = write_udp_headers(gsmtap_header_size + one.bytes.size(), out);
  write_gsmtap_header(one, out);
  return out + gsmtap_header_size;
}

}  // namespace decode::signalling
