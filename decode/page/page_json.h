// Parts of the page's data as JSON: see web/page.js.
#pragma once

#include <span>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "decode/page/cells.h"
#include "decode/page/drive.h"
#include "decode/page/run_counts.h"
#include "decode/page/series.h"

namespace decode::page {

using bucket_list = std::vector<std::span<const bucket>>;

/// JSON with null for every "buckets", and in the same order what stands there: as JSON values
/// buckets would take several times as much time and memory as their text.
// NOLINTNEXTLINE(bugprone-exception-escape): in what the compiler writes.
struct bucketed_json {
  nlohmann::ordered_json json;
  bucket_list buckets{};
};

[[nodiscard]] nlohmann::ordered_json json_of(const visited_cell& one, const run_counts& counts);
[[nodiscard]] nlohmann::ordered_json json_of(const cell_change& one);
[[nodiscard]] nlohmann::ordered_json json_of(const state_span& one);
[[nodiscard]] nlohmann::ordered_json json_of(const mark& one);

void add_counts(nlohmann::ordered_json& to, const run_counts& counts, std::uint64_t without_time);

/// No '<' is in it, so that it can stand between tags.
[[nodiscard]] std::string text_of(const bucketed_json& all);

}  // namespace decode::page
