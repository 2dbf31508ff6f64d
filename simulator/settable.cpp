#include "simulator/settable.h"

#include <fmt/core.h>

#include <algorithm>
#include <iterator>

#include "simulator/failure.h"
#include "simulator/number.h"
#include "simulator/services/sar.h"

namespace sim {
namespace {

constexpr settable_row rows[] = {
    {"sar.dsi", 0, last_sar_state,
     [](modem& state, std::uint32_t value) { state.kept.set(setting::sar_state, value); }},
};

}  // namespace

chosen_setting parse_setting(std::string_view text) {
  const auto separator = std::min(text.find('='), text.size());
  const auto* const row = std::ranges::find(rows, text.substr(0, separator), &settable_row::key);
  if (row == std::end(rows) || separator == text.size()) {
    std::string forms;
    for (const settable_row& each : rows) {
      forms +=
          fmt::format("{}{}={}..{}", forms.empty() ? "" : ", ", each.key, each.least, each.most);
    }
    throw usage_error(fmt::format("--set {}: expected one of {}", text, forms));
  }
  const auto value = parse_number(text.substr(separator + 1), row->least, row->most);
  if (!value) {
    throw usage_error(
        fmt::format("--set {}: expected {} from {} to {}", text, row->key, row->least, row->most));
  }
  return {row, *value};
}

}  // namespace sim
