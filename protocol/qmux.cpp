#include "protocol/qmux.h"

namespace protocol::qmux {
namespace {

constexpr std::uint8_t marker = 0x01;
constexpr std::size_t header_size = 6;

}  // namespace

std::vector<std::uint8_t> build_frame(sender from, const frame& what) {
  std::vector<std::uint8_t> bytes{marker};
  append_le(bytes, static_cast<std::uint16_t>(header_size - 1 + what.message.size()));
  bytes.insert(bytes.end(), {static_cast<std::uint8_t>(from), what.service, what.client});
  bytes.insert(bytes.end(), what.message.begin(), what.message.end());
  return bytes;
}

void frame_cutter::add(byte_view piece) {
  bytes_.insert(bytes_.end(), piece.begin(), piece.end());
}

std::optional<frame> frame_cutter::next() {
  bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(used_));
  used_ = 0;
  const byte_view all(bytes_);
  if (broken_ || all.empty()) return std::nullopt;
  if (all[0] != marker) {
    broken_ = true;
    return std::nullopt;
  }
  constexpr std::size_t with_length = 3;
  if (all.size() < with_length) return std::nullopt;
  const std::size_t size = std::size_t{1} + load_le<std::uint16_t>(all.subspan(1));
  if (size < header_size) {
    broken_ = true;
    return std::nullopt;
  }
  if (all.size() < size) return std::nullopt;
  used_ = size;
  constexpr std::size_t service_at = 4;
  constexpr std::size_t client_at = 5;
  return frame{all[service_at], all[client_at], all.first(size).subspan(header_size)};
}

std::optional<control_message> parse_control(byte_view message) {
  byte_reader in(message);
  const auto kind = in.take<std::uint8_t>();
  const auto transaction = in.take<std::uint8_t>();
  const auto id = in.take<std::uint16_t>();
  const auto length = in.take<std::uint16_t>();
  if (!length || in.rest().size() != *length) return std::nullopt;
  if (*kind > static_cast<std::uint8_t>(control_kind::indication)) return std::nullopt;
  return control_message{static_cast<control_kind>(*kind), *transaction,
                         static_cast<control_id>(*id), in.rest()};
}

std::vector<std::uint8_t> build_control(const control_message& message) {
  std::vector<std::uint8_t> bytes{static_cast<std::uint8_t>(message.kind), message.transaction};
  append_le(bytes, static_cast<std::uint16_t>(message.id));
  append_le(bytes, static_cast<std::uint16_t>(message.tlvs.size()));
  bytes.insert(bytes.end(), message.tlvs.begin(), message.tlvs.end());
  return bytes;
}

}  // namespace protocol::qmux
