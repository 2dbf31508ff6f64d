#include "simulator/diag/nas_messages.h"

#include "simulator/diag/byte_string.h"

namespace sim::diag {

namespace {

constexpr std::uint8_t mobility = 0x07;  // protocol discriminator
constexpr std::uint8_t session = 0x02;
constexpr std::uint8_t default_bearer = 5 << 4 | session;
constexpr std::uint8_t transaction = 1;

/// Algorithms 0 to 2 of each kind, of which EEA0 and EIA2 are chosen.
constexpr std::uint8_t capabilities[] = {2, 0xE0, 0xE0};
constexpr std::uint8_t chosen_algorithms = 0x02;

enum security_header : std::uint8_t {
  integrity_and_ciphering = 2,
  new_context = 3,
  new_context_and_ciphering = 4,
};

/// A whole message within another, with its length in two bytes.
byte_string container(const message_bytes& inner) {
  return byte_string().big_endian(2, inner.size()).bytes(inner);
}

/// Digits in pairs, the lower half of a byte first; the third of the network code shares a byte
/// with the country's, and is F where there are two.
byte_string network_code(const radio_network& network) {
  const bool three = network.mnc_digits == 3;
  const unsigned mnc = three ? network.mnc : network.mnc * 10U;
  const unsigned third = three ? mnc % 10 : 0xF;
  const unsigned mcc = network.mcc;
  return byte_string().u8(mcc / 10 % 10 << 4 | mcc / 100 % 10, third << 4 | mcc % 10,
                          mnc / 10 % 10 << 4 | mnc / 100 % 10);
}

message_bytes secured(security_header how, std::uint8_t count, const message_bytes& inner) {
  constexpr std::uint32_t checksum = 0x5A5A0000;
  return byte_string()
      .u8(how << 4 | mobility)
      .big_endian(4, checksum | count)
      .u8(count)
      .bytes(inner);
}

}  // namespace

message_bytes pdn_connectivity_request(const radio_values& /*seen*/) {
  constexpr std::uint8_t ipv4v6_initial = 0x31;
  return {session, transaction, 0xD0, ipv4v6_initial};
}

message_bytes attach_request(const radio_values& seen) {
  constexpr std::uint8_t no_key_eps_attach = 0x71;
  constexpr std::uint8_t imsi[] = {0x08, 0x09, 0x10, 0x10, 0x10, 0x32, 0x54, 0x76, 0x98};
  return byte_string()
      .u8(mobility, 0x41, no_key_eps_attach)
      .bytes(imsi)
      .bytes(capabilities)
      .bytes(container(pdn_connectivity_request(seen)));
}

message_bytes authentication_request(const radio_values& /*seen*/) {
  constexpr std::uint8_t size = 16;
  byte_string out;
  out.u8(mobility, 0x52, 0);
  for (unsigned i = 0; i < size; ++i) out.u8(0xA0 + i);
  out.u8(size);  // of the token
  for (unsigned i = 0; i < size; ++i) out.u8(0x50 + i);
  return out;
}

message_bytes authentication_response(const radio_values& /*seen*/) {
  return {mobility, 0x53, 8, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
}

message_bytes nas_security_mode_command(const radio_values& /*seen*/) {
  return byte_string().u8(mobility, 0x5D, chosen_algorithms, 0).bytes(capabilities);
}

message_bytes nas_security_mode_complete(const radio_values& /*seen*/) {
  return {mobility, 0x5E};
}

message_bytes default_bearer_request(const radio_values& /*seen*/) {
  constexpr std::uint8_t best_effort = 9;
  // The access point's name, labelled, and the address 10.0.0.2.
  return byte_string()
      .u8(default_bearer, transaction, 0xC1, 1, best_effort)
      .u8(9, 8)
      .text("internet")
      .u8(5, 1, 10, 0, 0, 2);
}

message_bytes attach_accept(const radio_values& seen) {
  constexpr std::uint8_t eps_only = 1;
  constexpr std::uint8_t updated_after_54_minutes = 0x49;
  constexpr std::uint8_t one_area = 0;
  constexpr std::uint8_t guti = 0x50;
  constexpr std::uint8_t guti_form = 0xF6;
  constexpr std::uint16_t mme_group = 1;
  return byte_string()
      .u8(mobility, 0x42, eps_only, updated_after_54_minutes, 6, one_area)
      .bytes(network_code(seen.network))
      .big_endian(2, seen.lte.tracking_area)
      .bytes(container(default_bearer_request(seen)))
      .u8(guti, 11, guti_form)
      .bytes(network_code(seen.network))
      .big_endian(2, mme_group)
      .u8(mme_code)
      .big_endian(4, m_tmsi);
}

message_bytes default_bearer_accept(const radio_values& /*seen*/) {
  return {default_bearer, 0, 0xC2};
}

message_bytes attach_complete(const radio_values& seen) {
  return byte_string().u8(mobility, 0x43).bytes(container(default_bearer_accept(seen)));
}

message_bytes service_request(const radio_values& /*seen*/) {
  constexpr std::uint8_t short_header = 12 << 4 | mobility;
  constexpr std::uint8_t count = 3;
  return {short_header, count, 0x5A, 0x03};
}

message_bytes protected_security_mode_command(const radio_values& seen) {
  return secured(new_context, 0, nas_security_mode_command(seen));
}

message_bytes protected_security_mode_complete(const radio_values& seen) {
  return secured(new_context_and_ciphering, 0, nas_security_mode_complete(seen));
}

message_bytes protected_attach_accept(const radio_values& seen) {
  return secured(integrity_and_ciphering, 1, attach_accept(seen));
}

message_bytes protected_attach_complete(const radio_values& seen) {
  return secured(integrity_and_ciphering, 1, attach_complete(seen));
}

}  // namespace sim::diag
