// Parts of the page's data as JSON: see web/page.js.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "decode/page/cells.h"
#include "decode/page/drive.h"
#include "decode/page/run_counts.h"
#include "decode/page/series.h"

namespace decode::page {

/// Flat: for each bucket the step from the index before (the first one from 0), the count, the
/// mean, and, if the count is above 1, the least and the greatest value.
[[nodiscard]] nlohmann::ordered_json json_of(const series& one);
/// The same without the buckets that end before `from`, in milliseconds.
[[nodiscard]] nlohmann::ordered_json json_of(const series& one, std::int64_t from);
[[nodiscard]] nlohmann::ordered_json json_of(const visited_cell& one, const run_counts& counts);
[[nodiscard]] nlohmann::ordered_json json_of(const cell_change& one);
[[nodiscard]] nlohmann::ordered_json json_of(const state_span& one);
[[nodiscard]] nlohmann::ordered_json json_of(const mark& one);

void add_counts(nlohmann::ordered_json& to, const run_counts& counts, std::uint64_t without_time);

/// No '<' is in it, so that it can stand between tags.
[[nodiscard]] std::string text_of(const nlohmann::ordered_json& json);

}  // namespace decode::page
