// Log 0xB193, LTE ML1 serving cell measurement: a record of the serving cell in each sub-packet.
// Layout: docs/formats/lte.md.
#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>

#include "modem_stats/conversions.h"
#include "modem_stats/lte/b193_layouts.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/lte.h"

namespace modem_stats {
namespace {

using namespace lte::b193;

/// A measured quantity: one value per antenna, and one combined.
struct quantity {
  std::array<const char*, max_antennas> names;
  const char* combined;
  unsigned width;
  float (*value)(i32 raw);
};
constexpr quantity rsrp_of{
    {"rsrp_rx0", "rsrp_rx1", "rsrp_rx2", "rsrp_rx3"}, "measured_rsrp", 12, modem_stats_i2f_rsrp};
constexpr quantity rsrq_of{
    {"rsrq_rx0", "rsrq_rx1", "rsrq_rx2", "rsrq_rx3"}, "measured_rsrq", 10, modem_stats_i2f_rsrq};
constexpr quantity rssi_of{
    {"rssi_rx0", "rssi_rx1", "rssi_rx2", "rssi_rx3"}, "max_rssi", 11, modem_stats_i2f_rssi};
constexpr quantity snr_of{
    {"snr_rx0", "snr_rx1", "snr_rx2", "snr_rx3"}, nullptr, 9, modem_stats_i2f_snr};
constexpr quantity filtered_rsrp_of{{}, "filtered_rsrp", 12, modem_stats_i2f_rsrp};
constexpr quantity filtered_rsrq_of{{}, "filtered_rsrq", 12, modem_stats_i2f_rsrq};

constexpr u8 serving_cell_measurement_result = 25;  // sub-packet id
constexpr unsigned max_cells = 4;
constexpr u16 all_antennas = 0x0F;
constexpr i32 offset_of_4_antennas = 640;  // added to measured_rsrp, which counts from -140 dBm

using raw_values = std::array<u16, max_antennas>;  // 0 for a missing antenna
using values = std::array<float, max_antennas>;

u16 read(packet_decoder& in, const char* name, place at, unsigned width) {
  return in.bits(bit_field<u16>{name, 8 * at.byte + at.bit, width});
}

raw_values read_raw(packet_decoder& in, const quantity& what, unsigned antennas,
                    const place (&places)[max_antennas]) {
  raw_values raw{};
  for (unsigned i = 0; i < antennas; ++i) raw[i] = read(in, what.names[i], places[i], what.width);
  return raw;
}

values converted(const quantity& what, const raw_values& raw) {
  values to;
  std::ranges::transform(raw, to.begin(), what.value);
  return to;
}

float read_combined(packet_decoder& in, const quantity& what, place at, i32 offset = 0) {
  return what.value(read(in, what.combined, at, what.width) + offset);
}

/// One bit per antenna, set if it has a measurement.
u16 antennas_of(const raw_values& raw_rsrp) {
  unsigned mask = 0;
  for (unsigned i = 0; i < max_antennas; ++i) mask |= raw_rsrp[i] != 0 ? 1U << i : 0;
  return static_cast<u16>(mask);
}

void print(packet_decoder& in, const quantity& what, const values& value) {
  in.print("%s = %.2f, %s = %.2f, %s = %.2f, %s = %.2f", what.names[0], value[0], what.names[1],
           value[1], what.names[2], value[2], what.names[3], value[3]);
}

/// Moves the block to the serving cell, or to the first cell if none is marked as serving.
void find_serving_cell(packet_decoder& in, const body_layout& layout, unsigned num_cells) {
  const unsigned first = in.block() + layout.cells;
  for (unsigned i = 0; i < num_cells; ++i) {
    in.block_at(first + i * layout.stride);
    if (in.bits_or(layout.head.is_srv_cell, u8{1}) != 0) return;
  }
  in.block_at(first);
}

/// What all values of a cell are about.
struct cell_identity {
  u32 earfcn;
  u16 num_cells, pci;
  u8 srv_cell_idx, is_srv_cell;
};

void print(packet_decoder& in, u8 version, const cell_identity& cell, u16 rx_valid) {
  in.print(
      "version = %d, earfcn = %d, rx_valid = %d, pci = %d, is_srv_cell = %d, srv_cell_idx = %d, "
      "num_cells = %d",
      version, cell.earfcn, rx_valid, cell.pci, cell.is_srv_cell, cell.srv_cell_idx,
      cell.num_cells);
  in.print("subpacket_id = %d", serving_cell_measurement_result);
}

struct antenna_levels {
  raw_values raw_rsrp;
  values rsrp, rsrq, rssi, snr;
};

antenna_levels read_levels(packet_decoder& in, const cell_places& cell) {
  antenna_levels levels;
  levels.raw_rsrp = read_raw(in, rsrp_of, cell.antennas, cell.rsrp);
  levels.rsrp = converted(rsrp_of, levels.raw_rsrp);
  levels.rsrq = converted(rsrq_of, read_raw(in, rsrq_of, cell.antennas, cell.rsrq));
  levels.rssi = converted(rssi_of, read_raw(in, rssi_of, cell.antennas, cell.rssi));
  if (cell.has_snr) {
    levels.snr = converted(snr_of, read_raw(in, snr_of, cell.antennas, cell.snr));
  } else {
    levels.snr.fill(std::numeric_limits<float>::quiet_NaN());
  }
  return levels;
}

/// RSRQ is RSRP less RSSI, times the number of resource blocks. If this is so on every antenna for
/// a bandwidth that there is, the values are where they were looked for.
bool is_consistent(const antenna_levels& levels, u16 rx_valid) {
  constexpr double tolerance = 0.3;  // dB
  constexpr double bandwidths[] = {6, 15, 25, 50, 75, 100};
  return std::ranges::any_of(bandwidths, [&](double blocks) {
    for (unsigned i = 0; i < max_antennas; ++i) {
      const double expected = 10 * std::log10(blocks) + levels.rsrp[i] - levels.rssi[i];
      if ((rx_valid >> i & 1) != 0 && std::fabs(levels.rsrq[i] - expected) > tolerance) {
        return false;
      }
    }
    return true;
  });
}

/// All that is known of a cell whose antennas are not.
void print_filtered(packet_decoder& in, u8 version, const cell_identity& identity, u16 rx_valid,
                    const cell_places& cell) {
  const auto rsrp = read_combined(in, filtered_rsrp_of, cell.filtered_rsrp);
  const auto rsrq = read_combined(in, filtered_rsrq_of, cell.filtered_rsrq);
  print(in, version, identity, rx_valid);
  in.print("filtered_rsrp = %.2f, filtered_rsrq = %.2f", rsrp, rsrq);
}

void decode(packet_decoder& in, u8 version, unsigned sub_packet, u8 version_ssmr) {
  const auto& layout = in.layout_for(version_ssmr, layouts, "lte_srv_meas");
  const auto size = in.peek(at_byte<u16>("size_sub", 2), u16{0});
  in.block_at(sub_packet + at::body);
  cell_identity identity{};
  identity.earfcn = in.bits(layout.earfcn);
  identity.num_cells = in.bits_or(layout.num_cells, u16{1});
  const auto num_cells = identity.num_cells;
  in.check_valid(num_cells > 0, num_cells, "num_cells");
  const unsigned most_cells = layout.values == antenna_values::unknown ? 1 : max_cells;
  if (!in.check_count(num_cells, most_cells, "num_cells")) return;
  if (layout.from != origin::product) {
    // The stride is not in the packet, and only these sizes are known.
    in.check_valid(size == at::body + layout.cells + num_cells * layout.stride, size, "size_sub");
  }
  const auto rx_valid_given = in.bits_or(layout.rx_valid, u16{0});

  find_serving_cell(in, layout, num_cells);
  const auto& head = layout.head;
  identity.pci = in.bits(head.pci);
  identity.srv_cell_idx = in.bits_or(head.srv_cell_idx, u8{0});
  identity.is_srv_cell = in.bits_or(head.is_srv_cell, u8{1});
  const auto rx_valid_of_cell = in.bits_or(head.rx_valid, rx_valid_given);
  const auto& cell = layout.cell;
  if (layout.values == antenna_values::unknown) {
    return print_filtered(in, version, identity, rx_valid_of_cell, cell);
  }
  const auto levels = read_levels(in, cell);
  const auto offset = cell.antennas == max_antennas ? offset_of_4_antennas : 0;
  const auto avg_rsrp = read_combined(in, rsrp_of, cell.measured_rsrp, offset);
  const auto avg_rsrq = read_combined(in, rsrq_of, cell.measured_rsrq);
  const auto max_rssi = read_combined(in, rssi_of, cell.max_rssi);
  const bool is_given = layout.rx_valid.name != nullptr || head.rx_valid.name != nullptr;
  const auto rx_valid = is_given ? rx_valid_of_cell : antennas_of(levels.raw_rsrp);
  if (layout.values == antenna_values::if_consistent && !is_consistent(levels, rx_valid)) {
    return print_filtered(in, version, identity, rx_valid, cell);
  }

  print(in, version, identity, rx_valid);
  print(in, rsrp_of, levels.rsrp);
  print(in, rsrq_of, levels.rsrq);
  print(in, rssi_of, levels.rssi);
  if (cell.has_snr) print(in, snr_of, levels.snr);
  in.print("avg_rsrp = %.2f, avg_rsrq = %.2f, max_rssi = %.2f", avg_rsrp, avg_rsrq, max_rssi);
  in.check_valid(rx_valid > 0 && rx_valid <= all_antennas, rx_valid, "rx_valid");
  const auto& record =
      identity.srv_cell_idx == 0 ? lte_srv_meas_pcc_record : lte_srv_meas_scc_record;
  const auto& [raw_rsrp, rsrp, rsrq, rssi, snr] = levels;
  in.publish(
      record, "version"_f = version, "version_ssmr"_f = version_ssmr, "earfcn"_f = identity.earfcn,
      "pci"_f = identity.pci, "is_srv_cell"_f = identity.is_srv_cell,
      "srv_cell_idx"_f = identity.srv_cell_idx,
      "rx_valid"_f = rx_valid,  //
      "rsrp_rx0"_f = rsrp[0], "rsrq_rx0"_f = rsrq[0], "rssi_rx0"_f = rssi[0], "snr_rx0"_f = snr[0],
      "rsrp_rx1"_f = rsrp[1], "rsrq_rx1"_f = rsrq[1], "rssi_rx1"_f = rssi[1], "snr_rx1"_f = snr[1],
      "rsrp_rx2"_f = rsrp[2], "rsrq_rx2"_f = rsrq[2], "rssi_rx2"_f = rssi[2], "snr_rx2"_f = snr[2],
      "rsrp_rx3"_f = rsrp[3], "rsrq_rx3"_f = rsrq[3], "rssi_rx3"_f = rssi[3], "snr_rx3"_f = snr[3]);
}

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b193_diag_log_lte_srv_meas(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  in.check_version(version, {1});
  const auto num_subpkt = lte::for_each_sub_packet(
      in, serving_cell_measurement_result, "subpacket_id",
      [&](unsigned byte, u8 version_ssmr) { decode(in, version, byte, version_ssmr); });
  in.check_valid(num_subpkt > 0, num_subpkt, "num_subpkt");
}
