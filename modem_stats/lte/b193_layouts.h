// Where the versions of log 0xB193 have the values of a cell: see docs/formats/lte.md.
#pragma once

#include <cstdint>

#include "modem_stats/bit_field.h"
#include "modem_stats/lte/sub_packets.h"
#include "modem_stats/packet.h"

namespace modem_stats::lte::b193 {

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
  bool has_snr = true;
  place filtered_rsrp{}, filtered_rsrq{};  // where the values of antennas are not to be relied on
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
constexpr cell_places cell_of_60{4,
    {{24, 10}, {28, 12}, {32, 12}, {40, 0}}, {40, 12},
    {{48, 0}, {48, 20}, {52, 10}, {52, 20}}, {56, 0},
    {{60, 0}, {60, 11}, {64, 0}, {64, 11}}, {68, 0},
    {}, false, {44, 12}, {56, 20}};

namespace at {
constexpr unsigned body = sub_packet_head;  // byte; the offsets below are relative to it
constexpr bit_field<u32> short_earfcn{"earfcn", 0, 16};
constexpr bit_field<u32> earfcn{"earfcn", 0, 32};
constexpr bit_field<u32> earfcn_of_18_bits{"earfcn", 0, 18};
constexpr auto num_cells = at_byte<u16>("num_cells", 4);
constexpr auto rx_valid = at_byte<u16>("rx_valid", 6);
}  // namespace at

constexpr auto none = absent<u16>;

/// What a cell says about itself; without is_srv_cell it is the serving cell.
struct cell_head {
  bit_field<u16> pci;
  bit_field<u8> srv_cell_idx, is_srv_cell;
  bit_field<u16> rx_valid = none;  // if it is not in front of the cells
};
constexpr cell_head unmarked{{"pci", 0, 9}, {"srv_cell_idx", 9, 3}, absent<u8>};
constexpr cell_head marked{{"pci", 0, 9}, {"srv_cell_idx", 9, 3}, {"is_srv_cell", 12, 1}};
constexpr cell_head after_mask{{"pci", 64, 9}, {"srv_cell_idx", 73, 3}, {"is_srv_cell", 79, 1},
                               at_byte<u16>("rx_valid", 0)};
constexpr cell_head unmarked_after_mask{{"pci", 64, 9}, absent<u8>, absent<u8>,
                                        at_byte<u16>("rx_valid", 0)};

/// Whether the values of the antennas can be relied on.
enum class antenna_values : std::uint8_t { known, if_consistent, unknown };

/// Without num_cells there is one cell.
struct body_layout {
  unsigned version;
  bit_field<u32> earfcn;
  bit_field<u16> num_cells, rx_valid;
  unsigned cells, stride;  // bytes
  const cell_head& head;
  const cell_places& cell;
  antenna_values values = antenna_values::known;
  origin from = origin::product;
};
constexpr body_layout layouts[] = {
    { 4, at::short_earfcn, none,          none,          2,   0, unmarked, cell_of_4},
    { 7, at::earfcn,       none,          none,          4,   0, unmarked, cell_of_7},
    {18, at::earfcn,       none,          none,          4,   0, marked,   cell_of_18},
    {19, at::earfcn,       at::num_cells, none,          8,  88, marked,   cell_of_18},
    {22, at::earfcn,       at::num_cells, none,          8, 120, marked,   cell_of_22},
    {24, at::earfcn,       at::num_cells, none,          8,  92, marked,   cell_of_24},
    {35, at::earfcn,       at::num_cells, none,          8, 124, marked,   cell_of_35},
    {36, at::earfcn,       at::num_cells, at::rx_valid,  8, 128, marked,   cell_of_35},
    {40, at::earfcn,       at::num_cells, at::rx_valid,  8, 132, marked,   cell_of_40},
    {48, at::earfcn,       at::num_cells, at::rx_valid, 12, 140, marked,   cell_of_48},
    {60, at::earfcn_of_18_bits,  at::num_cells, none, 8, 148, after_mask, cell_of_60,
     antenna_values::known, origin::inferred},
    {59, at::earfcn_of_18_bits,  at::num_cells, none, 8, 148, after_mask, cell_of_60,
     antenna_values::if_consistent, origin::inferred},
    {56, at::earfcn_of_18_bits,  at::num_cells, none, 8, 164, unmarked_after_mask, cell_of_60,
     antenna_values::unknown, origin::published},
    {50, at::earfcn_of_18_bits,  at::num_cells, none, 8, 164, unmarked_after_mask, cell_of_60,
     antenna_values::unknown, origin::published},
};
// clang-format on

}  // namespace modem_stats::lte::b193
