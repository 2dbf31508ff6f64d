// Log 0xB193, LTE ML1 serving cell measurement: a record of the serving cell in each sub-packet.
// Layout: docs/formats/lte.md.
#include <algorithm>
#include <array>

#include "modem_stats/conversions.h"
#include "modem_stats/lte/sub_packets.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/lte.h"

namespace modem_stats {
namespace {

constexpr unsigned max_antennas = 4;

/// Where a value starts in a cell: at a bit, counted from a byte.
struct place {
  unsigned byte, bit;
};

struct cell_places {
  unsigned antennas;
  place rsrp[max_antennas], measured_rsrp;
  place rsrq[max_antennas], measured_rsrq;
  place rssi[max_antennas], max_rssi;
  place snr[max_antennas];
};

// clang-format off
constexpr cell_places cell_of_4{2,
    {{10, 10}, {14, 12}}, {18, 12},
    {{22, 12}, {26, 0}}, {26, 20},
    {{30, 10}, {30, 21}}, {34, 0},
    {{58, 0}, {58, 9}}};
constexpr cell_places cell_of_7{2,
    {{12, 10}, {16, 12}}, {20, 12},
    {{24, 12}, {28, 0}}, {28, 20},
    {{32, 10}, {32, 21}}, {36, 0},
    {{60, 0}, {60, 9}}};
constexpr cell_places cell_of_18{2,
    {{16, 10}, {20, 12}}, {24, 12},
    {{28, 12}, {32, 0}}, {32, 20},
    {{36, 10}, {36, 21}}, {40, 0},
    {{64, 0}, {64, 9}}};
constexpr cell_places cell_of_22{2,
    {{16, 10}, {20, 12}}, {28, 12},
    {{32, 12}, {36, 0}}, {40, 10},
    {{44, 10}, {44, 21}}, {52, 0},
    {{76, 0}, {76, 9}}};
constexpr cell_places cell_of_24{2,
    {{16, 11}, {20, 12}}, {24, 12},  // the first is one bit later than everywhere else: doubtful
    {{28, 12}, {32, 0}}, {32, 20},
    {{36, 10}, {36, 21}}, {40, 0},
    {{64, 0}, {64, 9}}};
constexpr cell_places cell_of_35{4,
    {{16, 10}, {20, 12}, {24, 12}, {28, 0}}, {28, 12},
    {{36, 0}, {36, 20}, {40, 10}, {40, 20}}, {44, 0},
    {{48, 0}, {48, 11}, {52, 0}, {52, 11}}, {56, 0},
    {{80, 0}, {80, 9}, {84, 0}, {84, 9}}};
constexpr cell_places cell_of_40{4,
    {{16, 10}, {20, 12}, {24, 12}, {32, 0}}, {32, 12},
    {{40, 0}, {40, 20}, {44, 10}, {44, 20}}, {48, 0},
    {{52, 0}, {52, 11}, {56, 0}, {56, 11}}, {60, 0},
    {{84, 0}, {84, 9}, {88, 0}, {88, 9}}};
constexpr cell_places cell_of_48{4,
    {{16, 10}, {20, 12}, {24, 12}, {32, 0}}, {32, 12},
    {{40, 0}, {40, 20}, {44, 10}, {44, 20}}, {48, 0},
    {{52, 0}, {52, 11}, {56, 0}, {56, 11}}, {60, 0},
    {{92, 0}, {92, 9}, {96, 0}, {96, 9}}};

namespace at {
constexpr unsigned body = lte::sub_packet_head;  // byte; the offsets below are relative to it
constexpr bit_field<u32> short_earfcn{"earfcn", 0, 16};
constexpr bit_field<u32> earfcn{"earfcn", 0, 32};
constexpr auto num_cells = at_byte<u16>("num_cells", 4);
constexpr auto rx_valid = at_byte<u16>("rx_valid", 6);
// Relative to a cell:
constexpr bit_field<u16> pci{"pci", 0, 9};
constexpr bit_field<u8> srv_cell_idx{"srv_cell_idx", 9, 3};
constexpr bit_field<u8> is_srv_cell{"is_srv_cell", 12, 1};
}  // namespace at

constexpr auto none = absent<u16>;

/// Without num_cells there is one cell; without is_srv_cell it is the serving cell.
struct body_layout {
  unsigned version;
  bit_field<u32> earfcn;
  bit_field<u16> num_cells, rx_valid;
  unsigned cells, stride;  // bytes
  bit_field<u8> is_srv_cell;
  const cell_places& cell;
};
constexpr body_layout layouts[] = {
    { 4, at::short_earfcn, none,          none,          2,   0, absent<u8>,      cell_of_4},
    { 7, at::earfcn,       none,          none,          4,   0, absent<u8>,      cell_of_7},
    {18, at::earfcn,       none,          none,          4,   0, at::is_srv_cell, cell_of_18},
    {19, at::earfcn,       at::num_cells, none,          8,  88, at::is_srv_cell, cell_of_18},
    {22, at::earfcn,       at::num_cells, none,          8, 120, at::is_srv_cell, cell_of_22},
    {24, at::earfcn,       at::num_cells, none,          8,  92, at::is_srv_cell, cell_of_24},
    {35, at::earfcn,       at::num_cells, none,          8, 124, at::is_srv_cell, cell_of_35},
    {36, at::earfcn,       at::num_cells, at::rx_valid,  8, 128, at::is_srv_cell, cell_of_35},
    {40, at::earfcn,       at::num_cells, at::rx_valid,  8, 132, at::is_srv_cell, cell_of_40},
    {48, at::earfcn,       at::num_cells, at::rx_valid, 12, 140, at::is_srv_cell, cell_of_48},
};

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
// clang-format on

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
    if (in.bits_or(layout.is_srv_cell, u8{1}) != 0) return;
  }
  in.block_at(first);
}

void decode(packet_decoder& in, u8 version, unsigned sub_packet, u8 version_ssmr) {
  const auto& layout = in.layout_for(version_ssmr, layouts, "lte_srv_meas");
  in.block_at(sub_packet + at::body);
  const auto earfcn = in.bits(layout.earfcn);
  const auto num_cells = in.bits_or(layout.num_cells, u16{1});
  in.check_valid(num_cells > 0, num_cells, "num_cells");
  if (!in.check_count(num_cells, max_cells, "num_cells")) return;
  const auto rx_valid_given = in.bits_or(layout.rx_valid, u16{0});

  find_serving_cell(in, layout, num_cells);
  const auto pci = in.bits(at::pci);
  const auto srv_cell_idx = in.bits(at::srv_cell_idx);
  const auto is_srv_cell = in.bits_or(layout.is_srv_cell, u8{1});
  const auto& cell = layout.cell;
  const auto raw_rsrp = read_raw(in, rsrp_of, cell.antennas, cell.rsrp);
  const auto rsrp = converted(rsrp_of, raw_rsrp);
  const auto rsrq = converted(rsrq_of, read_raw(in, rsrq_of, cell.antennas, cell.rsrq));
  const auto rssi = converted(rssi_of, read_raw(in, rssi_of, cell.antennas, cell.rssi));
  const auto snr = converted(snr_of, read_raw(in, snr_of, cell.antennas, cell.snr));
  const auto offset = cell.antennas == max_antennas ? offset_of_4_antennas : 0;
  const auto avg_rsrp = read_combined(in, rsrp_of, cell.measured_rsrp, offset);
  const auto avg_rsrq = read_combined(in, rsrq_of, cell.measured_rsrq);
  const auto max_rssi = read_combined(in, rssi_of, cell.max_rssi);
  const auto rx_valid = layout.rx_valid.name != nullptr ? rx_valid_given : antennas_of(raw_rsrp);

  in.print(
      "version = %d, earfcn = %d, rx_valid = %d, pci = %d, is_srv_cell = %d, srv_cell_idx = %d, "
      "num_cells = %d",
      version, earfcn, rx_valid, pci, is_srv_cell, srv_cell_idx, num_cells);
  in.print("subpacket_id = %d", serving_cell_measurement_result);
  print(in, rsrp_of, rsrp);
  print(in, rsrq_of, rsrq);
  print(in, rssi_of, rssi);
  print(in, snr_of, snr);
  in.print("avg_rsrp = %.2f, avg_rsrq = %.2f, max_rssi = %.2f", avg_rsrp, avg_rsrq, max_rssi);
  in.check_valid(rx_valid > 0 && rx_valid <= all_antennas, rx_valid, "rx_valid");
  const auto& record = srv_cell_idx == 0 ? lte_srv_meas_pcc_record : lte_srv_meas_scc_record;
  in.publish(
      record, "version"_f = version, "version_ssmr"_f = version_ssmr, "earfcn"_f = earfcn,
      "pci"_f = pci, "is_srv_cell"_f = is_srv_cell, "srv_cell_idx"_f = srv_cell_idx,
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
