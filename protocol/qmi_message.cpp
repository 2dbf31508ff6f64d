#include "protocol/qmi_message.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace protocol::qmi {

std::optional<header> parse_header(byte_view datagram) {
  byte_reader in(datagram);
  const auto flags = in.take<std::uint8_t>();
  const auto transaction = in.take<std::uint16_t>();
  const auto message_id = in.take<std::uint16_t>();
  const auto tlv_length = in.take<std::uint16_t>();
  if (!tlv_length) return std::nullopt;
  if (*flags != 0 && *flags != 2 && *flags != 4) return std::nullopt;
  return header{static_cast<message_kind>(*flags), *transaction, *message_id, *tlv_length};
}

void write_header(const header& head, std::span<std::uint8_t> out) {
  out[0] = static_cast<std::uint8_t>(head.kind);
  store_le(head.transaction, out.subspan(1));
  store_le(head.message_id, out.subspan(3));
  store_le(head.tlv_length, out.subspan(5));
}

std::optional<message> parse_message(byte_view datagram) {
  const auto head = parse_header(datagram);
  if (!head || datagram.size() != header_size + head->tlv_length) return std::nullopt;
  return message{*head, datagram.subspan(header_size)};
}

std::optional<tlv> tlv_reader::next() {
  if (malformed_ || in_.empty()) return std::nullopt;
  const auto type = in_.take<std::uint8_t>();
  const auto length = in_.take<std::uint16_t>();
  const auto value = length ? in_.take_bytes(*length) : std::nullopt;
  if (!value) {
    malformed_ = true;
    return std::nullopt;
  }
  return tlv{*type, *value};
}

bool well_formed(byte_view tlvs) {
  tlv_reader reader(tlvs);
  while (reader.next()) {
  }
  return !reader.malformed();
}

std::optional<byte_view> find_tlv(byte_view tlvs, std::uint8_t type) {
  tlv_reader reader(tlvs);
  while (const auto tlv = reader.next()) {
    if (tlv->type == type) return tlv->value;
  }
  return std::nullopt;
}

void tlv_writer::start(std::uint8_t type, std::size_t length) {
  assert(length <= std::numeric_limits<std::uint16_t>::max());
  bytes_.push_back(type);
  append_le(bytes_, static_cast<std::uint16_t>(length));
}

tlv_writer& tlv_writer::bytes(std::uint8_t type, byte_view value) {
  start(type, value.size());
  bytes_.insert(bytes_.end(), value.begin(), value.end());
  return *this;
}

tlv_writer& tlv_writer::standard_response(error code) {
  start(standard_response_tlv, 4);
  append_le(bytes_, static_cast<std::uint16_t>(code == error::none ? 0 : 1));
  append_le(bytes_, static_cast<std::uint16_t>(code));
  return *this;
}

std::vector<std::uint8_t> build_message(message_kind kind, std::uint16_t transaction,
                                        std::uint16_t message_id, byte_view tlvs) {
  assert(tlvs.size() <= std::numeric_limits<std::uint16_t>::max());
  std::vector<std::uint8_t> datagram(header_size + tlvs.size());
  write_header({kind, transaction, message_id, static_cast<std::uint16_t>(tlvs.size())}, datagram);
  std::ranges::copy(tlvs, datagram.begin() + header_size);
  return datagram;
}

}  // namespace protocol::qmi
