#include "decode/summary/cells.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

#include "modem_stats/records/events.h"
#include "modem_stats/records/lte.h"
#include "modem_stats/records/nr5g_mac_rrc.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"

namespace decode {

namespace {

using modem_stats::record_data;
using modem_stats::record_schema;

/// A kind of record that tells the serving cell, and the fields that do.
struct telling_record {
  const record_schema& schema;
  radio_technology technology;
  std::string_view arfcn;
  std::string_view pci;
};
constexpr telling_record telling_records[] = {
    {modem_stats::lte_srv_meas_pcc_record, radio_technology::lte, "earfcn", "pci"},
    {modem_stats::lte_rrc_serving_cell_record, radio_technology::lte, "dl_earfcn", "pci"},
    {modem_stats::lte_handover_record, radio_technology::lte, "freq", "pci"},
    {modem_stats::nr5g_ml1_meas_pcc_record, radio_technology::nr, "arfcn", "pci"},
    {modem_stats::nr5g_rrc_serving_cell_record, radio_technology::nr, "dl_earfcn", "pci"},
    {modem_stats::nr5g_new_cell_record, radio_technology::nr, "ssb_freq", "pci"},
};

struct place {
  const modem_stats::field_row* row = nullptr;
  std::size_t at = 0;
  bool is_beside = false;  // the record, in what the packet says beside it
};

place place_of(const record_schema& schema, std::string_view name) {
  for (const bool is_beside : {false, true}) {
    std::size_t at = 0;
    for (const auto& row : is_beside ? schema.beside.rows : schema.parts().front().rows) {
      if (row.name == name) return {&row, at, is_beside};
      at += modem_stats::size_of(row.type);
    }
  }
  return {};
}

struct telling_places {
  radio_technology technology{};
  place arfcn;
  place pci;
};

const telling_places* places_of(const record_schema& schema) {
  static const auto table = [] {
    std::array<telling_places, 256> made{};
    for (const auto& one : telling_records) {
      made.at(one.schema.id) = {one.technology, place_of(one.schema, one.arfcn),
                                place_of(one.schema, one.pci)};
    }
    return made;
  }();
  const auto& found = table.at(schema.id);
  return found.pci.row == nullptr ? nullptr : &found;
}

std::uint64_t value_of(const place& at, const record_data& data) {
  const auto bytes = at.is_beside ? data.beside : data.bytes;
  return modem_stats::load_field(*at.row, bytes.subspan(at.at)).unsigned_number;
}

}  // namespace

bool tells_cell(const record_schema& schema) {
  return places_of(schema) != nullptr;
}

std::optional<cell> told_cell(std::uint32_t radio, const record_schema& schema,
                              const record_data& data) {
  const auto* const places = places_of(schema);
  if (places == nullptr) return {};
  return cell{radio, places->technology, static_cast<std::uint32_t>(value_of(places->arfcn, data)),
              static_cast<std::uint16_t>(value_of(places->pci, data))};
}

void serving_cells::record(std::uint32_t radio, std::int64_t time, const record_schema& schema,
                           const record_data& data) {
  const auto seen = told_cell(radio, schema, data);
  if (!seen) return;
  ++counts_.at(*seen).records;
  const track_key key{radio, seen->technology};
  const track now{{*seen, time}, {*seen, time}};
  const auto found = tracks_.find(key);
  if (found != tracks_.end()) return follow(found->second, now);
  tracks_.emplace(key, now);
  if (tracks_.size() > most_tracks) tracks_.erase(std::prev(tracks_.end()));
}

void serving_cells::follow(track& before, const track& next) {
  counts_.at(before.last.seen).microseconds +=
      std::max<std::int64_t>(next.first.time - before.last.time, 0);
  before.last = next.last;
}

void serving_cells::add(const serving_cells& next) {
  counts_.add(next.counts_);
  for (const auto& [key, seen] : next.tracks_) {
    const auto found = tracks_.find(key);
    if (found != tracks_.end()) {
      follow(found->second, seen);
    } else {
      tracks_.emplace(key, seen);
    }
  }
  while (tracks_.size() > most_tracks) tracks_.erase(std::prev(tracks_.end()));
}

}  // namespace decode
