#include "simulator/modem/ber_tlv.h"

namespace sim::ber {
namespace {

constexpr std::uint8_t more_tag_bytes = 0x1F;  // all set: another byte follows
constexpr std::uint8_t last_tag_byte = 0x80;   // clear in the last one
constexpr std::uint8_t long_length = 0x80;
constexpr int max_tag_bytes = 3;
constexpr unsigned max_length_bytes = 2;

std::optional<std::uint32_t> take_tag(protocol::byte_reader& in) {
  const auto first = in.take<std::uint8_t>();
  if (!first) return std::nullopt;
  std::uint32_t tag = *first;
  if ((*first & more_tag_bytes) != more_tag_bytes) return tag;
  for (int count = 1; count < max_tag_bytes; ++count) {
    const auto byte = in.take<std::uint8_t>();
    if (!byte) return std::nullopt;
    tag = tag << 8 | *byte;
    if ((*byte & last_tag_byte) == 0) return tag;
  }
  return std::nullopt;
}

std::optional<std::size_t> take_length(protocol::byte_reader& in) {
  const auto first = in.take<std::uint8_t>();
  if (!first || *first < long_length) return first;
  const unsigned count = *first & ~unsigned{long_length};
  if (count == 0 || count > max_length_bytes) return std::nullopt;
  std::size_t length = 0;
  for (unsigned i = 0; i < count; ++i) {
    const auto byte = in.take<std::uint8_t>();
    if (!byte) return std::nullopt;
    length = length << 8 | *byte;
  }
  return length;
}

}  // namespace

std::optional<object> reader::take() {
  const auto tag = take_tag(in_);
  const auto length = tag ? take_length(in_) : std::nullopt;
  const auto value = length ? in_.take_bytes(*length) : std::nullopt;
  if (!value) return std::nullopt;
  return object{*tag, *value};
}

std::optional<object> reader::next() {
  if (in_.empty() || malformed_) return std::nullopt;
  const auto taken = take();
  malformed_ = !taken;
  return taken;
}

std::optional<protocol::byte_view> find(protocol::byte_view objects, std::uint32_t tag) {
  reader in(objects);
  while (const auto each = in.next()) {
    if (each->tag == tag) return each->value;
  }
  return std::nullopt;
}

void append_tag(std::vector<std::uint8_t>& out, std::uint32_t tag) {
  for (int shift = 8 * (max_tag_bytes - 1); shift >= 0; shift -= 8) {
    if (tag >> shift != 0) out.push_back(static_cast<std::uint8_t>(tag >> shift));
  }
}

void append(std::vector<std::uint8_t>& out, std::uint32_t tag, protocol::byte_view value) {
  append_tag(out, tag);
  const std::size_t size = value.size();
  if (size > 0xFF) {
    out.push_back(long_length | 2);
    out.push_back(static_cast<std::uint8_t>(size >> 8));
  } else if (size >= long_length) {
    out.push_back(long_length | 1);
  }
  out.push_back(static_cast<std::uint8_t>(size));
  out.insert(out.end(), value.begin(), value.end());
}

std::vector<std::uint8_t> made(std::uint32_t tag, protocol::byte_view value) {
  std::vector<std::uint8_t> out;
  append(out, tag, value);
  return out;
}

}  // namespace sim::ber
