#include "decode/page/page_data.h"

#include "decode/page/page_json.h"
#include "decode/page/page_template.h"

namespace decode::page {

namespace {

using nlohmann::ordered_json;

bool is_rate(series_kind kind) {
  return kind == series_kind::bytes || kind == series_kind::counted_bytes;
}

ordered_json json_of_charts(const drive& all, bucket_list& listed) {
  const auto all_series = all.all_series();
  auto found = ordered_json::array();
  for (const auto& chart : charts()) {
    auto list = ordered_json::array();
    bool rate = false;
    for (const auto& [key, one] : all_series) {
      const auto& planned = all.plan().series()[key.first];
      if (planned.row->chart != chart.id) continue;
      rate = is_rate(planned.row->kind);
      list.push_back({{"label", planned.label},
                      {"radio", key.second},
                      {"width", one.width()},
                      {"buckets", nullptr}});
      listed.emplace_back(one.buckets());
    }
    if (list.empty()) continue;
    found.push_back({{"title", chart.title},
                     {"unit", chart.unit},
                     {"steps", chart.steps},
                     {"rate", rate},
                     {"series", std::move(list)}});
  }
  return found;
}

template <typename T>
ordered_json json_of_all(const std::vector<T>& all) {
  auto found = ordered_json::array();
  for (const auto& one : all) found.push_back(json_of(one));
  return found;
}

void add_cells(ordered_json& to, const cell_history& history, const run_counts& counts) {
  auto cells = ordered_json::array();
  for (const auto& one : history.cells()) cells.push_back(json_of(one, counts));
  to["cells"] = std::move(cells);
  to["cells_left_out"] = history.cells_left_out();
  to["changes"] = json_of_all(history.changes());
  to["changes_left_out"] = history.changes_left_out();
}

ordered_json json_of_states(const drive& all) {
  auto found = ordered_json::array();
  for (const auto& [key, band] : all.states()) {
    found.push_back({{"title", state_rows()[key.first].title},
                     {"radio", key.second},
                     {"spans", json_of_all(band.kept())}});
  }
  return found;
}

}  // namespace

bucketed_json page_json(const page_head& head, const std::optional<time_window>& time,
                        const drive& all, const run_counts& counts) {
  bucketed_json made{.json = {{"title", head.title},
                              {"inputs", head.inputs},
                              {"from", time ? ordered_json(time->from) : ordered_json()},
                              {"to", time ? ordered_json(time->to) : ordered_json()}},
                     .buckets = {}};
  auto& json = made.json;
  add_counts(json, counts, all.without_time());
  add_cells(json, all.cells(), counts);
  json["charts"] = json_of_charts(all, made.buckets);
  json["states"] = json_of_states(all);
  json["marks"] = json_of_all(all.marks().kept());
  json["marks_left_out"] = all.marks().left_out();
  return made;
}

std::string page_data(const page_head& head, const drive& all, const summary& counts) {
  std::optional<time_window> time;
  if (counts.first_time <= counts.last_time) {
    // Without what was logged before the modem knew the time.
    const auto first = counts.first_time < first_known_time && all.first_known() != INT64_MAX
                           ? all.first_known()
                           : counts.first_time / 1000;
    time = {first, counts.last_time / 1000};
  }
  return text_of(page_json(head, time, all, counts_of(counts)));
}

std::string filled_page(std::string_view data, std::string_view allowed) {
  std::string page(page_template());
  const auto fill = [&](std::string_view mark, std::string_view text) {
    page.replace(page.find(mark), mark.size(), text);
  };
  fill("@policy@", std::string(page_policy()).append(allowed));
  fill("@data@", data);
  return page;
}

}  // namespace decode::page
