// What the page shows: a row for each chart, for each series of a chart, for each band of states
// and for each kind of mark. All values come from the columns of records (docs/formats/records.md).
#pragma once

#include <cstdint>
#include <span>

namespace decode::page {

enum class chart_id : std::uint8_t {
  rsrp,
  rsrq,
  rssi,
  sinr,
  beam_rsrp,
  beam_rsrq,
  serving_pci,
  tx_power,
  headroom,
  path_loss,
  dl_rate,
  dl_errors,
  dl_mcs,
  dl_modulation,
  dl_layers,
  cqi,
  ul_mcs,
  ul_blocks,
  ul_buffer,
  ul_buffer_index,
  agc,
  rtp,
};

struct chart_row {
  chart_id id;
  const char* title;
  const char* unit;
  bool steps = false;  // values hold until the next one
};

/// How a series comes from its column.
enum class series_kind : std::uint8_t {
  level,            // the value itself
  modulation_bits,  // bits per symbol of a modulation's name
  failures,         // percentage of zeros
  bytes,            // a packet's bytes, shown as a bit rate
  counted_bytes,    // a 32-bit counter of bytes, shown as a bit rate
  counted_share,    // a 32-bit counter as a percentage of another counter
  interval,         // milliseconds since the record before; the column is not used
};

/// In `label` and `column`, '#' stands for a receive chain: the row is for all four of them.
struct series_row {
  chart_id chart;
  const char* label;
  std::uint8_t record;  // data id
  const char* column;
  series_kind kind = series_kind::level;
  const char* of_column = nullptr;  // of counted_share
  float offset = 0.0F;              // added to the value
};

/// A band of states over time, from a column of text.
struct state_row {
  const char* title;
  std::uint8_t record;
  const char* column;
};

/// Records that are points in time, shown with their columns as text.
struct mark_row {
  const char* kind;
  std::uint8_t record;
};

[[nodiscard]] std::span<const chart_row> charts();
[[nodiscard]] std::span<const series_row> series_rows();
[[nodiscard]] std::span<const state_row> state_rows();
[[nodiscard]] std::span<const mark_row> mark_rows();

}  // namespace decode::page
