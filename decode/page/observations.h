// What the records of a chunk say for the page, collected on any thread and added to the drive in
// the order of the packets.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "decode/page/by_radio.h"
#include "decode/summary/cells.h"

namespace decode::page {

/// A value of a series; `of` is the second counter of counted_share.
struct sample {
  std::int64_t milliseconds;  // Unix
  double value;
  double of;
};
/// Of each of the plan's series.
using series_samples = std::vector<std::vector<sample>>;

/// The best antenna of a record, or the packet's own value for all of them.
struct cell_levels {
  std::optional<float> rsrp;
  std::optional<float> rsrq;
  std::optional<float> sinr;
};

/// What a serving cell broadcasts.
struct cell_identity {
  std::uint64_t identity;
  std::uint32_t tac;
  std::uint16_t band;
  double bandwidth_mhz;  // 0: not known
  std::uint16_t mcc;
  std::uint16_t mnc;
  std::uint8_t mnc_digits;  // 2 or 3

  friend bool operator==(const cell_identity&, const cell_identity&) = default;
};

/// The channel of a cell that the record tells by its PCI alone.
constexpr std::uint32_t no_arfcn = UINT32_MAX;

/// A record that tells the serving cell, or levels of it.
struct cell_observation {
  std::int64_t milliseconds;
  cell seen;
  cell_levels levels{};
  std::optional<cell_identity> broadcast{};
};

struct state_observation {
  std::int64_t milliseconds;
  std::uint32_t radio;
  std::uint16_t row;       // of state_rows
  std::string_view state;  // lives as long as the program
};

struct mark {
  std::int64_t milliseconds;
  std::uint32_t radio;
  std::uint16_t row;  // of mark_rows
  std::string text;
};

struct observations {
  by_radio<series_samples> samples;
  std::vector<cell_observation> cells;
  std::vector<state_observation> states;
  std::vector<mark> marks;
  bool with_texts = true;                // of marks; otherwise they are only counted
  std::uint64_t without_time = 0;        // records from before the modem knew the time
  std::int64_t first_known = INT64_MAX;  // milliseconds, of the other ones

  void clear(bool texts) {
    for (auto& [radio, all] : samples.entries()) {
      for (auto& one : all) one.clear();
    }
    cells.clear();
    states.clear();
    marks.clear();
    with_texts = texts;
    without_time = 0;
    first_known = INT64_MAX;
  }
};

}  // namespace decode::page
