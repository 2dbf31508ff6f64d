// Blocks of a pcapng file, in little-endian order.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "decode/output/text_buffer.h"
#include "decode/signalling/kind.h"

namespace decode::signalling::pcapng {

/// The longest text that a comment can be.
constexpr std::size_t most_comment = 0xFFFF;

/// The beginning of a file.
void append_section(text_buffer& to, std::string_view program);

/// The next interface, counted from 0.
void append_interface(text_buffer& to, std::uint16_t link, std::string_view name,
                      std::string_view description);

struct packet {
  std::uint32_t interface;
  std::int64_t time;        // microseconds, Unix
  std::string_view header;  // its data, in two pieces
  std::string_view body;
  direction way;
  std::span<const std::string_view> comments;
};
void append_packet(text_buffer& to, const packet& one);

}  // namespace decode::signalling::pcapng
