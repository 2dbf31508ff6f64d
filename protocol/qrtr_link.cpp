#include "protocol/qrtr_link.h"

namespace protocol::qrtr {
namespace {

constexpr std::uint32_t version = 1;
constexpr std::size_t header_size = 32;
constexpr std::size_t alignment = 4;

}  // namespace

std::vector<std::uint8_t> build_link_packet(const link_packet& packet) {
  const auto size = static_cast<std::uint32_t>(packet.payload.size());
  std::vector<std::uint8_t> bytes;
  bytes.reserve(header_size + size + alignment);
  for (const std::uint32_t word :
       {version, static_cast<std::uint32_t>(packet.type), packet.from.node, packet.from.port,
        std::uint32_t{packet.confirm_rx ? 1U : 0U}, size, packet.to.node, packet.to.port}) {
    append_le(bytes, word);
  }
  bytes.insert(bytes.end(), packet.payload.begin(), packet.payload.end());
  while (bytes.size() % alignment != 0) bytes.push_back(0);
  return bytes;
}

std::optional<link_packet> parse_link_packet(byte_view bytes) {
  if (bytes.size() < header_size) return std::nullopt;
  const auto word = [&](std::size_t index) {
    return load_le<std::uint32_t>(bytes.subspan(4 * index));
  };
  const byte_view padded = bytes.subspan(header_size);
  if (word(0) != version || word(5) > padded.size()) return std::nullopt;
  return link_packet{.type = static_cast<command>(word(1)),
                     .from = {word(2), word(3)},
                     .to = {word(6), word(7)},
                     .payload = padded.first(word(5)),
                     .confirm_rx = word(4) != 0};
}

}  // namespace protocol::qrtr
