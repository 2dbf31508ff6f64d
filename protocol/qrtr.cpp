#include "protocol/qrtr.h"

namespace protocol::qrtr {
namespace {

bool is_client_form(command cmd) {
  return cmd == command::del_client || cmd == command::resume_tx;
}

}  // namespace

std::optional<control_packet> parse_control(byte_view datagram) {
  if (datagram.size() < control_packet_size) return std::nullopt;
  const auto word = [&](std::size_t index) {
    return load_le<std::uint32_t>(datagram.subspan(4 * index));
  };
  control_packet packet{.cmd = static_cast<command>(word(0)), .about = {}};
  switch (packet.cmd) {
    case command::new_server:
    case command::del_server:
    case command::new_lookup:
    case command::del_lookup:
      packet.about = {word(1), word(2), {word(3), word(4)}};
      return packet;
    case command::del_client:
      packet.about.at = {word(1), word(2)};
      return packet;
    case command::data:
    case command::hello:
    case command::resume_tx:
      break;
  }
  return std::nullopt;
}

std::array<std::uint8_t, control_packet_size> build_control(const control_packet& packet) {
  const server& about = packet.about;
  const std::array<std::uint32_t, 5> words =
      is_client_form(packet.cmd)
          ? std::array<std::uint32_t, 5>{static_cast<std::uint32_t>(packet.cmd), about.at.node,
                                         about.at.port, 0, 0}
          : std::array<std::uint32_t, 5>{static_cast<std::uint32_t>(packet.cmd), about.service,
                                         about.instance_word, about.at.node, about.at.port};
  std::array<std::uint8_t, control_packet_size> bytes{};
  for (std::size_t i = 0; i < words.size(); ++i) {
    store_le(words[i], std::span(bytes).subspan(4 * i));
  }
  return bytes;
}

}  // namespace protocol::qrtr
