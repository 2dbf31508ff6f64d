#include "decode/page/live/shown_state.h"

#include <algorithm>

#include "decode/page/page_json.h"

namespace decode::page {

using nlohmann::ordered_json;

namespace {

/// The entries of a list that are new or differ, by their numbers since the start, and the number
/// of the first one that the list still has.
template <typename T, typename Differs, typename Json>
ordered_json patch(const std::vector<T>& list, std::uint64_t first, Differs differs, Json json) {
  auto entries = ordered_json::array();
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (differs(first + i, list[i])) entries.push_back({first + i, json(list[i])});
  }
  return {{"first", first}, {"entries", std::move(entries)}};
}

template <typename T>
std::uint64_t count_of(const T& list) {
  return list.forgotten() + list.kept().size();
}

/// Of a list to which entries are only added.
template <typename T>
ordered_json patch(const T& list, std::uint64_t shown) {
  return patch(
      list.kept(), list.forgotten(), [&](auto number, const auto&) { return number >= shown; },
      [](const auto& one) { return json_of(one); });
}

}  // namespace

std::vector<std::pair<drive::series_key, const series&>> charted_series(const drive& all) {
  const auto all_series = all.all_series();
  std::vector<std::pair<drive::series_key, const series&>> found;
  for (const auto& chart : charts()) {
    for (const auto& [key, one] : all_series) {
      if (all.plan().series()[key.first].row->chart == chart.id) found.emplace_back(key, one);
    }
  }
  return found;
}

bool shown_state::has_same_charts(const drive& all) const {
  const auto same_series = [](const auto& now, const shown_series& before) {
    return now.first == before.key;
  };
  const auto same_band = [](const auto& now, const shown_band& before) {
    return now.first == before.key;
  };
  return std::ranges::equal(charted_series(all), series_, same_series) &&
         std::ranges::equal(all.states(), bands_, same_band);
}

shown_state::shown_cell shown_state::shown(const visited_cell& one, const run_counts& counts) {
  return {one.visits, one.rsrp.count() + one.rsrq.count() + one.sinr.count(),
          counts.seconds_in(one.which), one.broadcast};
}

bool shown_state::shows(std::uint64_t number, const cell_change& change) const {
  return number < first_change_ + changes_.size() &&
         changes_[number - first_change_] == change.rsrp_after.has_value();
}

bucketed_json shown_state::changes(const drive& all, const run_counts& counts,
                                   std::int64_t from) const {
  bucketed_json made;
  auto& json = made.json;
  add_counts(json, counts, all.without_time());

  const auto& cells = all.cells();
  json["cells"] = patch(
      cells.cells(), 0,
      [&](auto number, const visited_cell& one) {
        return number >= cells_.size() || cells_[number] != shown(one, counts);
      },
      [&](const visited_cell& one) { return json_of(one, counts); });
  json["cells_left_out"] = cells.cells_left_out();
  json["changes"] = patch(
      cells.changes(), cells.changes_forgotten(),
      [&](auto number, const cell_change& one) { return !shows(number, one); },
      [](const cell_change& one) { return json_of(one); });
  json["changes_left_out"] = cells.changes_left_out();
  json["marks"] = patch(all.marks(), marks_);
  json["marks_left_out"] = all.marks().left_out();

  json["states"] = ordered_json::array();
  for (std::size_t i = 0; const auto& [key, band] : all.states()) {
    json["states"].push_back(patch(band, bands_[i++].spans));
  }
  json["series"] = ordered_json::array();
  for (std::size_t i = 0; const auto& [key, one] : charted_series(all)) {
    const auto width = one.width();
    const bool is_same = width == series_[i].width;
    const auto first = is_same ? from / width : 0;
    if (one.buckets().back().index < first) {
      ++i;
      continue;
    }
    json["series"].push_back(
        {{"number", i++}, {"width", width}, {"from", first}, {"buckets", nullptr}});
    made.buckets.emplace_back(std::ranges::lower_bound(one.buckets(), first, {}, &bucket::index),
                              one.buckets().end());
  }
  return made;
}

void shown_state::take(const drive& all, const run_counts& counts) {
  series_.clear();
  for (const auto& [key, one] : charted_series(all)) series_.push_back({key, one.width()});
  bands_.clear();
  for (const auto& [key, band] : all.states()) bands_.push_back({key, count_of(band)});
  cells_.clear();
  for (const auto& one : all.cells().cells()) cells_.push_back(shown(one, counts));
  first_change_ = all.cells().changes_forgotten();
  changes_.clear();
  for (const auto& one : all.cells().changes()) changes_.push_back(one.rsrp_after.has_value());
  marks_ = count_of(all.marks());
}

}  // namespace decode::page
