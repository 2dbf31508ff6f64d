// Log 0xB97F, NR5G ML1 searcher measurement database update: every layer that names its serving
// cell makes a record, of the first beam of that cell. Layout: docs/formats/nr5g_ml1_ll1.md.
#include <array>
#include <iterator>
#include <optional>

#include "modem_stats/conversions.h"
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"

namespace modem_stats {
namespace {

struct database_layout {
  unsigned version;
  // Bytes of each structure. A layer is followed by its cells, a cell by its beams.
  unsigned header, layer, beam;
  bit_field<u8> num_layers;
  // Of a layer.
  bit_field<u8> cc_id;
  bit_field<u8> num_cells;
};

constexpr auto num_layers_at(unsigned byte) {
  return at_byte<u8>("num_layers", byte);
}
constexpr auto num_cells_at(unsigned byte) {
  return at_byte<u8>("num_cells", byte);
}
constexpr auto cc_id = at_byte<u8>("cc_id", 4);

constexpr database_layout layouts[] = {
    {0x20004, 8, 28, 52, num_layers_at(4), absent<u8>, num_cells_at(4)},
    {0x20005, 8, 32, 52, num_layers_at(4), absent<u8>, num_cells_at(4)},
    {0x20006, 8, 32, 44, num_layers_at(4), absent<u8>, num_cells_at(4)},
    {0x20007, 16, 32, 44, num_layers_at(4), absent<u8>, num_cells_at(4)},
    {0x20009, 20, 32, 44, num_layers_at(8), cc_id, num_cells_at(5)},
    {0x2000A, 20, 32, 84, num_layers_at(8), cc_id, num_cells_at(5)},
    {0x30000, 20, 40, 84, num_layers_at(8), cc_id, num_cells_at(5)},
};
constexpr unsigned cell_size = 16;

namespace at_layer {
constexpr auto arfcn = at_byte<u32>("arfcn", 0);
constexpr auto srv_pci = at_byte<u16>("srv_pci", 6);
constexpr auto rsrp_i2 = at_byte<i32>("rsrp_i2", 12);
constexpr auto rsrp_i3 = at_byte<i32>("rsrp_i3", 16);
}  // namespace at_layer

namespace at_cell {
constexpr auto pci_1 = at_byte<u16>("pci_1", 0);
constexpr auto num_beams = at_byte<u8>("num_beams", 4);
constexpr auto rsrq_i = at_byte<i32>("rsrq_i", 12);
}  // namespace at_cell

namespace at_beam {
constexpr auto rsrp_i0 = at_byte<i32>("rsrp_i0", 20);
constexpr auto rsrp_i1 = at_byte<i32>("rsrp_i1", 24);
}  // namespace at_beam

constexpr unsigned max_layers = 8;
constexpr unsigned max_cells = 20;  // of a layer
constexpr unsigned max_beams = 16;  // of a cell

struct beam {
  i32 rsrp_i0, rsrp_i1;
};

struct cell {
  u16 pci_1;
  u8 num_beams;
  i32 rsrq_i;
  beam first_beam;
};

struct entry {
  u8 kind;  // 0: primary carrier, 1 and 2: secondary ones
  u32 arfcn;
  i32 rsrp_i2, rsrp_i3;
  cell serving;
};

/// Walks the structures of a packet in order and prints each of them.
class database_walk {
 public:
  database_walk(packet_decoder& in, const database_layout& layout)
      : in_(in), layout_(layout), byte_(layout.header) {}

  /// Reads a layer with its cells and their beams. Adds an entry if one of the cells is the serving
  /// cell and has beams.
  std::optional<entry> next_layer(u8 layer) {
    enter(layout_.layer);
    const auto arfcn = in_.peek(at_layer::arfcn, u32{0});
    const auto kind = in_.bits_or(layout_.cc_id, layer);
    const auto num_cells = in_.bits(layout_.num_cells);
    const auto srv_pci = in_.bits(at_layer::srv_pci);
    const auto rsrp_i2 = in_.bits(at_layer::rsrp_i2);
    const auto rsrp_i3 = in_.bits(at_layer::rsrp_i3);
    in_.print("layer[%d]: cc_id = %d, num_cells = %d, srv_pci = %d, rsrp_i2 = %d, rsrp_i3 = %d",
              layer, kind, num_cells, srv_pci, rsrp_i2, rsrp_i3);
    if (!in_.check_count(num_cells, max_cells, "num_cells")) return std::nullopt;

    std::optional<cell> serving;
    for (unsigned i = 0; i < num_cells; ++i) {
      const cell one = next_cell(layer, i);
      if (one.pci_1 == srv_pci && !serving) serving = one;
    }
    if (!serving || serving->num_beams == 0) return std::nullopt;
    return entry{
        .kind = kind, .arfcn = arfcn, .rsrp_i2 = rsrp_i2, .rsrp_i3 = rsrp_i3, .serving = *serving};
  }

 private:
  /// Moves the block to the structure of this size at the current position, and steps past it.
  void enter(unsigned size) {
    in_.block_at(byte_);
    byte_ += size;
  }

  cell next_cell(unsigned layer, unsigned number) {
    enter(cell_size);
    cell one{.pci_1 = in_.bits(at_cell::pci_1),
             .num_beams = in_.bits(at_cell::num_beams),
             .rsrq_i = in_.bits(at_cell::rsrq_i),
             .first_beam = {}};
    in_.print("cell[%d][%d]: pci_1 = %d, num_beams = %d, rsrq_i = %d", layer, number, one.pci_1,
              one.num_beams, one.rsrq_i);
    if (!in_.check_count(one.num_beams, max_beams, "num_beams")) return one;
    for (unsigned i = 0; i < one.num_beams; ++i) {
      const beam current = next_beam(layer, number, i);
      if (i == 0) one.first_beam = current;
    }
    return one;
  }

  beam next_beam(unsigned layer, unsigned cell, unsigned number) {
    enter(layout_.beam);
    const beam one{.rsrp_i0 = in_.bits(at_beam::rsrp_i0), .rsrp_i1 = in_.bits(at_beam::rsrp_i1)};
    in_.print("beam[%d][%d][%d]: rsrp_i0 = %d, rsrp_i1 = %d", layer, cell, number, one.rsrp_i0,
              one.rsrp_i1);
    return one;
  }

  packet_decoder& in_;
  const database_layout& layout_;
  unsigned byte_;
};

constexpr const fixed_record<nr5g_meas_fields, nr5g_meas_cell>* record_of_kind[] = {
    &nr5g_ml1_meas_pcc_record, &nr5g_ml1_meas_scc1_record, &nr5g_ml1_meas_scc2_record};

/// False for a kind of carrier that has no record, which ends the decoding.
bool publish(packet_decoder& in, u32 version, unsigned number, const entry& one) {
  const f32 rsrp0 = modem_stats_nr5g_rsrp_ex(one.serving.first_beam.rsrp_i0);
  const f32 rsrp1 = modem_stats_nr5g_rsrp_ex(one.serving.first_beam.rsrp_i1);
  const f32 rsrp2 = modem_stats_nr5g_rsrp_ex(one.rsrp_i2);
  const f32 rsrp3 = modem_stats_nr5g_rsrp_ex(one.rsrp_i3);
  const f32 rsrq = modem_stats_nr5g_rsrq(one.serving.rsrq_i);
  in.print("pk[%d]: rsrp0 = %.2f, rsrp1 = %.2f, rsrp2 = %.2f, rsrp3 = %.2f, rsrq = %.2f", number,
           rsrp0, rsrp1, rsrp2, rsrp3, rsrq);
  if (one.kind >= std::size(record_of_kind)) return false;
  in.publish(*record_of_kind[one.kind], "version"_f = version, "rsrp_rx0"_f = rsrp0,
             "rsrp_rx1"_f = rsrp1, "rsrp_rx2"_f = rsrp2, "rsrp_rx3"_f = rsrp3, "rsrq"_f = rsrq,
             "pci"_f = one.serving.pci_1, "arfcn"_f = one.arfcn);
  return in.ok();
}

}  // namespace
}  // namespace modem_stats

void modem_stats_parse_b97f_diag_log_nr5g_ml1_meas_database_update_ext(
    modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u32>("version");
  const auto& layout = in.layout_for(version, layouts);
  const auto num_layers = in.bits(layout.num_layers);
  in.print("version = %d, num_layers = %d", version, num_layers);
  if (!in.check_count(num_layers, max_layers, "num_layers")) return;

  std::array<entry, max_layers> entries;
  unsigned num_entries = 0;
  database_walk walk(in, layout);
  for (u8 i = 0; i < num_layers; ++i) {
    if (const auto found = walk.next_layer(i)) entries[num_entries++] = *found;
  }
  for (unsigned i = 0; i < num_entries; ++i) {
    if (!publish(in, version, i, entries[i])) return;
  }
}
