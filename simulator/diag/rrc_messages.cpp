#include "simulator/diag/rrc_messages.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "simulator/diag/bit_string.h"

namespace sim::diag {

namespace {

// Where a message may have extensions, optional parts or alternatives, its bits for them are
// written as one binary number, in the order of the fields.

constexpr unsigned transaction_bits = 2;
constexpr unsigned transaction = 0;

enum downlink_message : std::uint8_t {
  information_transfer_down = 1,
  reconfigure = 4,
  release = 5,
  security_down = 6,
};
enum uplink_message : std::uint8_t {
  report = 1,
  reconfigured = 2,
  set_up = 4,
  secured = 5,
  information_transfer_up = 9,
};

/// A message on DCCH: the first choice, then which of the messages.
bit_string on_dcch(std::uint8_t which) {
  return bit_string().put(1, 0).put(4, which);
}

/// Transaction and critical extensions, of which there are none: `choice_bits` zeros.
bit_string& put_head(bit_string& out, unsigned choice_bits) {
  return out.put(transaction_bits, transaction).put(choice_bits, 0);
}

/// A signalling bearer with default configurations, as SRB-ToAddMod.
bit_string& put_signalling_bearer(bit_string& out, unsigned number) {
  constexpr unsigned defaults = 0b11;
  return out.put(3, 0b011).put(1, number - 1).put(2, defaults);
}

/// RadioResourceConfigDedicated: signalling bearer 2, and a data bearer with acknowledgements for
/// the EPS bearer.
bit_string& put_bearers(bit_string& out) {
  constexpr unsigned eps_bearer = 5;
  constexpr unsigned logical_channel = 3;
  out.put(7, 0b0110000);
  put_signalling_bearer(out.put(1, 0), 2);
  out.put(4, 0).put(6, 0b011111).put(4, eps_bearer).put(5, 0);
  // PDCP: discard timer infinity, no status report, no header compression.
  out.put(4, 0b0110).put(3, 7).put(1, 0).put(1, 0);
  // RLC: the device polls after 40 ms, or never for what it has sent, 32 retransmissions at most;
  // it reorders for 35 ms and reports whenever it may.
  out.put(3, 0b000).put(6, 7).put(3, 7).put(4, 14).put(3, 7).put(5, 7).put(6, 0);
  out.put(3, logical_channel - 3);
  // Logical channel: priority 8, no prioritised bit rate, 100 ms, group 3.
  return out.put(2, 0b01).put(1, 0b1).put(4, 8 - 1).put(4, 0).put(3, 1).put(2, 3);
}

}  // namespace

message_bytes lte_master_information(const radio_values& seen, std::uint16_t frame) {
  constexpr std::uint8_t bandwidths[] = {6, 15, 25, 50, 75, 100};
  const auto* const bandwidth = std::ranges::lower_bound(bandwidths, seen.lte.resource_blocks);
  constexpr unsigned normal_sixth = 0b000;  // PHICH
  return bit_string()
      .put(3, static_cast<unsigned>(std::distance(std::begin(bandwidths), bandwidth)))
      .put(3, normal_sixth)
      .put(8, frame >> 2)
      .put(10, 0)
      .bytes();
}

message_bytes nr_master_information(const radio_values& /*seen*/, std::uint16_t frame) {
  constexpr unsigned not_barred = 1;
  return bit_string()
      .put(1, 0)
      .put(6, frame >> 4)
      .put(1, 0)  // sub-carriers of 15 kHz
      .put(4, 0)
      .put(1, 0)
      .put(8, 0x40)  // PDCCH
      .put(1, not_barred)
      .put(2, 0)
      .bytes();
}

message_bytes system_information_1(const radio_values& seen) {
  const auto& [mcc, mnc, mnc_digits] = seen.network;
  auto out = bit_string().put(2, 0b01).put(3, 0b000).put(1, 0b0);
  out.put(3, 0).put(1, 0b1);
  for (const unsigned place : {100U, 10U, 1U}) out.put(4, mcc / place % 10);
  out.put(1, mnc_digits - 2U);
  if (mnc_digits == 3) out.put(4, mnc / 100U % 10);
  for (const unsigned place : {10U, 1U}) out.put(4, mnc / place % 10);
  constexpr unsigned not_reserved = 1;
  constexpr unsigned not_barred_reselection_no_csg = 0b100;
  out.put(1, not_reserved).put(16, seen.lte.tracking_area).put(28, seen.lte.cell_identity);
  out.put(3, not_barred_reselection_no_csg);
  constexpr unsigned lowest_level = 70 - 64;  // -128 dBm, in steps of 2 from -140
  out.put(1, 0b0).put(6, lowest_level);
  constexpr std::uint8_t most_band = 64;  // stands for those above, too
  out.put(6, std::min(seen.lte.band, most_band) - 1U);
  // Only block 2 is scheduled, every 16 frames in a window of 10 ms.
  return out.put(5, 0).put(3, 1).put(5, 0).put(3, 3).put(5, 0).bytes();
}

message_bytes paging(const radio_values& /*seen*/) {
  constexpr unsigned packet_switched = 0;
  return bit_string()
      .put(1, 0)
      .put(4, 0b1000)
      .put(4, 0)
      .put(3, 0b000)
      .put(8, mme_code)
      .put(32, m_tmsi)
      .put(1, packet_switched)
      .bytes();
}

message_bytes connection_request_to_attach(const radio_values& /*seen*/) {
  constexpr std::uint64_t random = 0x5A17C3B2F4;
  constexpr unsigned to_signal = 3;
  return bit_string().put(4, 0b0101).put(40, random).put(3, to_signal).put(1, 0).bytes();
}

message_bytes connection_request_when_paged(const radio_values& /*seen*/) {
  constexpr unsigned paged = 2;
  return bit_string()
      .put(4, 0b0100)
      .put(8, mme_code)
      .put(32, m_tmsi)
      .put(3, paged)
      .put(1, 0)
      .bytes();
}

message_bytes connection_setup(const radio_values& /*seen*/) {
  auto out = bit_string().put(3, 0b011);
  put_head(out, 4).put(1, 0b0).put(7, 0b0100100);
  constexpr unsigned default_mac = 1;
  return put_signalling_bearer(out.put(1, 0), 1).put(1, default_mac).bytes();
}

message_bytes setup_complete(const message_bytes& nas) {
  auto out = on_dcch(set_up);
  put_head(out, 3).put(2, 0b00);
  constexpr unsigned first_network = 0;
  return out.put(3, first_network).put_octets(nas).bytes();
}

message_bytes downlink_nas(const message_bytes& nas) {
  auto out = on_dcch(information_transfer_down);
  return put_head(out, 3).put(1, 0b0).put(2, 0).put_octets(nas).bytes();
}

message_bytes uplink_nas(const message_bytes& nas) {
  return on_dcch(information_transfer_up).put(3, 0).put(1, 0b0).put(2, 0).put_octets(nas).bytes();
}

message_bytes security_mode_command(const radio_values& /*seen*/) {
  constexpr unsigned eea2 = 2;
  constexpr unsigned eia2 = 2;
  auto out = on_dcch(security_down);
  return put_head(out, 3).put(1, 0b0).put(1, 0b0).put(4, eea2).put(4, eia2).bytes();
}

message_bytes security_mode_complete(const radio_values& /*seen*/) {
  auto out = on_dcch(secured);
  return put_head(out, 1).put(1, 0b0).bytes();
}

message_bytes reconfiguration_with(const message_bytes& nas) {
  auto out = on_dcch(reconfigure);
  put_head(out, 4).put(6, 0b001100);
  return put_bearers(out.put(4, 0).put_octets(nas)).bytes();
}

message_bytes reconfiguration(const radio_values& /*seen*/) {
  auto out = on_dcch(reconfigure);
  return put_bearers(put_head(out, 4).put(6, 0b000100)).bytes();
}

message_bytes reconfiguration_complete(const radio_values& /*seen*/) {
  auto out = on_dcch(reconfigured);
  return put_head(out, 1).put(1, 0b0).bytes();
}

message_bytes measurement_report(const radio_values& seen) {
  const auto level = [](double from_lowest, double most) {
    return static_cast<unsigned>(std::clamp(std::floor(from_lowest), 0.0, most));
  };
  return on_dcch(report)
      .put(4, 0)
      .put(1, 0b0)
      .put(2, 0b00)
      .put(5, 0)
      .put(7, level(seen.lte.rsrp + 141, 97))
      .put(6, level((seen.lte.rsrq + 20) * 2, 34))
      .bytes();
}

message_bytes handover_command(const radio_values& seen) {
  constexpr unsigned within_500_ms = 4;
  constexpr unsigned new_identity = 0x4A2C;
  auto out = on_dcch(reconfigure);
  put_head(out, 4).put(6, 0b010010);
  out.put(5, 0b00000)
      .put(9, seen.neighbour_pci.value_or(seen.lte.pci))
      .put(3, within_500_ms)
      .put(16, new_identity);
  // The cell's common configuration: root sequence 22; PUSCH with one sub-band, hopping between
  // sub-frames, offset 2, no 64QAM, reference signals without hopping; normal prefix.
  out.put(10, 0b0).put(1, 0b0).put(10, 22);
  out.put(2, 0).put(1, 0).put(7, 2).put(1, 0).put(1, 0).put(5, 0).put(1, 0).put(3, 0).put(1, 0);
  // The keys stay: no algorithms, no new key, chaining count 1.
  return out.put(2, 0b00).put(1, 0b0).put(1, 0).put(3, 1).bytes();
}

message_bytes connection_release(const radio_values& /*seen*/) {
  constexpr unsigned other = 1;
  auto out = on_dcch(release);
  return put_head(out, 3).put(3, 0b000).put(2, other).bytes();
}

}  // namespace sim::diag
