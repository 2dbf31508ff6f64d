#include "simulator/modem/settable.h"

#include <fmt/core.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <optional>

#include "simulator/failure.h"
#include "simulator/modem/settings.h"
#include "simulator/number.h"

namespace sim {
namespace {

constexpr std::int64_t max_32 = std::numeric_limits<std::uint32_t>::max();

template <typename T>
void assign(T& to, std::int64_t value) {
  to = static_cast<T>(value);
}

template <auto member>
void into(modem& state, std::int64_t value) {
  assign(state.*member, value);
}
template <auto member>
void into_radio(modem& state, std::int64_t value) {
  assign(state.radio.*member, value);
}

/// Around which the levels of `part` move.
template <auto part, auto member>
void into_means(modem& state, std::int64_t value) {
  assign(state.radio.means.*part.*member, value);
}
constexpr auto network = &radio_values::network;
constexpr auto lte = &radio_values::lte;
constexpr auto nr = &radio_values::nr;
constexpr auto wcdma = &radio_values::wcdma;
constexpr auto gsm = &radio_values::gsm;

/// As users write it, with a sign when it is negative.
std::optional<std::int64_t> parse_signed(std::string_view text, const settable_row& row) {
  const bool negative = text.starts_with('-');
  const auto size = parse_number(text.substr(negative ? 1 : 0), 0, max_32);
  if (!size) return std::nullopt;
  const std::int64_t value = negative ? -std::int64_t{*size} : std::int64_t{*size};
  return value < row.least || value > row.most ? std::nullopt : std::optional(value);
}

constexpr settable_row rows[] = {
    {"sar.dsi", setting_of::sar_state.least, setting_of::sar_state.most,
     [](modem& state, std::int64_t value) { state.kept.set(setting_of::sar_state, value); }},
    {"uim.active_slots", 1, card_slots,
     [](modem& state, std::int64_t value) { assign(state.uicc.active_slots, value); }},
    {"diag.factory_length", 4, 16384, into<&modem::factory_answer>},
    {"radio.seed", 0, max_32, into_radio<&radio::seed>},
    {"radio.swing", 0, 20, into_radio<&radio::swing>},
    {"network.mcc", 1, 999, into_means<network, &radio_network::mcc>},
    {"network.mnc", 0, 999, into_means<network, &radio_network::mnc>},
    {"network.mnc_digits", 2, 3, into_means<network, &radio_network::mnc_digits>},
    {"lte.earfcn", 0, 262143, into_means<lte, &lte_cell::dl_earfcn>},
    {"lte.ul_earfcn", 0, 262143, into_means<lte, &lte_cell::ul_earfcn>},
    {"lte.pci", 0, 503, into_means<lte, &lte_cell::pci>},
    {"lte.neighbour_pci", 0, 503,
     [](modem& state, std::int64_t value) {
       state.radio.means.neighbour_pci = static_cast<std::uint16_t>(value);
     }},
    {"lte.band", 1, 88, into_means<lte, &lte_cell::band>},
    {"lte.resource_blocks", 6, 100, into_means<lte, &lte_cell::resource_blocks>},
    {"lte.cell_identity", 0, 0xFFFFFFF, into_means<lte, &lte_cell::cell_identity>},
    {"lte.tracking_area", 0, 0xFFFF, into_means<lte, &lte_cell::tracking_area>},
    {"lte.rsrp", -140, -40, into_means<lte, &lte_cell::rsrp>},
    {"lte.rsrq", -30, 3, into_means<lte, &lte_cell::rsrq>},
    {"lte.sinr", -20, 31, into_means<lte, &lte_cell::sinr>},
    {"nr.arfcn", 0, 3279165, into_means<nr, &nr_cell::arfcn>},
    {"nr.pci", 0, 1007, into_means<nr, &nr_cell::pci>},
    {"nr.rsrp", -156, -31, into_means<nr, &nr_cell::rsrp>},
    {"nr.rsrq", -43, 20, into_means<nr, &nr_cell::rsrq>},
    {"nr.sinr", -23, 40, into_means<nr, &nr_cell::sinr>},
    {"wcdma.rssi", -120, -25, into_means<wcdma, &wcdma_cell::rssi>},
    {"gsm.rssi", -120, -25, into_means<gsm, &gsm_cell::rssi>},
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
  const auto value = parse_signed(text.substr(separator + 1), *row);
  if (!value) {
    throw usage_error(
        fmt::format("--set {}: expected {} from {} to {}", text, row->key, row->least, row->most));
  }
  return {row, *value};
}

}  // namespace sim
