#include "decode/signalling/pcapng.h"

#include <algorithm>
#include <concepts>

namespace decode::signalling::pcapng {

namespace {

constexpr std::uint32_t section_block = 0x0A0D0D0A;
constexpr std::uint32_t interface_block = 1;
constexpr std::uint32_t packet_block = 6;

constexpr std::uint16_t end_option = 0;
constexpr std::uint16_t comment_option = 1;
constexpr std::uint16_t packet_flags_option = 2;
constexpr std::uint16_t interface_name_option = 2;
constexpr std::uint16_t interface_description_option = 3;
constexpr std::uint16_t program_option = 4;

constexpr std::size_t block_frame = 12;  // type and length in front, length again behind
constexpr std::size_t option_head = 4;

constexpr std::size_t padded(std::size_t size) {
  return (size + 3) / 4 * 4;
}
constexpr std::size_t option_size(std::string_view value) {
  return option_head + padded(value.size());
}

template <std::unsigned_integral T>
char* put(T value, char* out) {
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    *out++ = static_cast<char>(value >> (8 * i) & 0xFF);
  }
  return out;
}

char* put(std::string_view bytes, char* out) {
  return std::copy(bytes.begin(), bytes.end(), out);
}

char* put_padding(std::size_t size, char* out) {
  return std::fill_n(out, padded(size) - size, '\0');
}

char* put_option(std::uint16_t code, std::string_view value, char* out) {
  out = put(code, out);
  out = put(static_cast<std::uint16_t>(value.size()), out);
  return put_padding(value.size(), put(value, out));
}

char* begin_block(std::uint32_t type, std::size_t size, char* out) {
  return put(static_cast<std::uint32_t>(size), put(type, out));
}

char* end_block(std::size_t size, char* out) {
  return put(static_cast<std::uint32_t>(size), out);
}

}  // namespace

void append_section(text_buffer& to, std::string_view program) {
  constexpr std::uint32_t byte_order = 0x1A2B3C4D;
  constexpr std::uint64_t unknown_length = UINT64_MAX;
  const auto size = block_frame + 16 + option_size(program) + option_head;
  char* out = begin_block(section_block, size, to.room(size));
  out = put(byte_order, out);
  out = put(std::uint16_t{1}, out);  // version 1.0
  out = put(std::uint16_t{0}, out);
  out = put(unknown_length, out);
  out = put_option(program_option, program, out);
  out = put_option(end_option, {}, out);
  to.commit(end_block(size, out));
}

void append_interface(text_buffer& to, std::uint16_t link, std::string_view name,
                      std::string_view description) {
  constexpr std::uint32_t no_limit = 0;
  const auto size = block_frame + 8 + option_size(name) + option_size(description) + option_head;
  char* out = begin_block(interface_block, size, to.room(size));
  out = put(link, out);
  out = put(std::uint16_t{0}, out);
  out = put(no_limit, out);
  out = put_option(interface_name_option, name, out);
  out = put_option(interface_description_option, description, out);
  out = put_option(end_option, {}, out);
  to.commit(end_block(size, out));
}

void append_packet(text_buffer& to, const packet& one) {
  constexpr std::size_t flags_size = option_head + sizeof(std::uint32_t);
  const auto data_size = one.header.size() + one.body.size();
  auto size = block_frame + 20 + padded(data_size) + flags_size + option_head;
  for (const auto comment : one.comments) size += option_size(comment);
  const auto time = static_cast<std::uint64_t>(one.time);

  char* out = begin_block(packet_block, size, to.room(size));
  out = put(one.interface, out);
  out = put(static_cast<std::uint32_t>(time >> 32), out);
  out = put(static_cast<std::uint32_t>(time), out);
  out = put(static_cast<std::uint32_t>(data_size), out);
  out = put(static_cast<std::uint32_t>(data_size), out);  // as captured, so originally
  out = put_padding(data_size, put(one.body, put(one.header, out)));
  for (const auto comment : one.comments) out = put_option(comment_option, comment, out);
  out = put(packet_flags_option, out);
  out = put(std::uint16_t{sizeof(std::uint32_t)}, out);
  out = put(static_cast<std::uint32_t>(one.way), out);  // the file's numbers are ours
  out = put_option(end_option, {}, out);
  to.commit(end_block(size, out));
}

}  // namespace decode::signalling::pcapng
