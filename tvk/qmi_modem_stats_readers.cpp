#include "tvk/qmi_modem_stats_readers.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <string_view>

#include "modem_stats/records/events.h"
#include "modem_stats/records/lte.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"
#include "modem_stats/records/wcdma_gsm_ims.h"
#include "qcril-common/utilities/checked.h"
#include "tvk/qmi_modem_stats_request.h"

using modem_stats::field_row;
using modem_stats::field_type;
using modem_stats::field_value;

namespace {

constexpr std::size_t max_fields = 22;

/// fields.size() when no field has this name.
constexpr std::size_t index_of(std::span<const field_row> fields, std::string_view name) {
  std::size_t at = 0;
  while (at < fields.size() && fields[at].name != name) ++at;
  return at;
}

/// Calls `text` and `field` with the line's literal texts and {NAME}s, in order.
template <typename Text, typename Field>
constexpr void walk(std::string_view line, Text text, Field field) {
  while (!line.empty()) {
    const auto open = std::min(line.find('{'), line.size());
    text(line.substr(0, open));
    line.remove_prefix(open);
    if (line.empty()) return;
    const auto close = line.find('}');
    field(line.substr(1, close - 1));
    line.remove_prefix(close + 1);
  }
}

consteval shown_record shown(std::span<const field_row> fields, const char* line) {
  if (fields.size() > max_fields) throw "more fields than there is room for";
  walk(
      line, [](std::string_view) {},
      [&](std::string_view name) {
        if (index_of(fields, name) == fields.size()) throw "no such field";
      });
  return {fields, line};
}

/// Takes the next field from the payload.
std::optional<field_value> take(const field_row& field) {
  qmi_modem_stats_state& state = g_qmi_modem_stats;
  if (state.cursor < 0) {
    std::printf("g_pK_DATA_CNT(%d) is can not < 0 for %s, id(0x%x)\n",  // sic
                state.cursor, field.name, state.id);
    return std::nullopt;
  }
  const auto width = static_cast<std::int32_t>(modem_stats::size_of(field.type));
  if (state.data_left < width) {
    std::printf("g_orvax_data_left(%d) is not enough for %s, id(0x%x)\n", state.data_left,
                field.name, state.id);
    return std::nullopt;
  }
  const auto at = static_cast<std::size_t>(state.cursor);
  if (at + static_cast<std::size_t>(width) > state.data.size()) abort_process();
  const auto value = modem_stats::load_field(field, std::span(state.data).subspan(at));
  state.cursor += width;
  state.data_left -= width;
  return value;
}

void print(const field_value& value) {
  if (value.type == field_type::float32) {
    std::printf("%.2f", static_cast<double>(value.real));
  } else {
    std::printf("%d", static_cast<int>(value.unsigned_number));
  }
}

}  // namespace

constexpr shown_record g_lte_carrier =
    shown(modem_stats::lte_carrier_fields.rows,
          "ASDIV DATA: earfcn: {earfcn}, pci: {pci}, rx_valid: {rx_valid}, "
          "rsrp_rx0: {rsrp_rx0}, rsrq_rx0: {rsrq_rx0}, rssi_rx0: {rssi_rx0}, snr_rx0: {snr_rx0}, "
          "rsrp_rx1: {rsrp_rx1}, rsrq_rx1: {rsrq_rx1}, rssi_rx1: {rssi_rx1}, snr_rx1: {snr_rx1}, "
          "rsrp_rx2: {rsrp_rx2}, rsrq_rx2: {rsrq_rx2}, rssi_rx2: {rssi_rx2}, snr_rx2: {snr_rx2}, "
          "rsrp_rx3: {rsrp_rx3}, rsrq_rx3: {rsrq_rx3}, rssi_rx3: {rssi_rx3}, snr_rx3: {snr_rx3}\n");
constexpr shown_record g_nr5g_rssi = shown(
    modem_stats::nr5g_rssi_fields.rows,
    "ASDIV DATA: rssi_rx0: {rssi0}, rssi_rx1: {rssi1}, rssi_rx2: {rssi2}, rssi_rx3: {rssi3}\n");
constexpr shown_record g_nr5g_snr =
    shown(modem_stats::nr5g_snr_fields.rows,
          "ASDIV DATA: snr_rx0: {snr0}, snr_rx1: {snr1}, snr_rx2: {snr2}, snr_rx3: {snr3}\n");
constexpr shown_record g_nr5g_antenna_switch =
    shown(modem_stats::nr5g_antenna_switch_fields.rows,
          "ASDIV DATA: ant_rx_0_old = {ant_rx_0_old}, ant_rx_0_new = {ant_rx_0_new}, "
          "ant_rx_1_old = {ant_rx_1_old}, ant_rx_1_new = {ant_rx_1_new}, "
          "ant_rx_2_old = {ant_rx_2_old}, ant_rx_2_new = {ant_rx_2_new}, "
          "ant_rx_3_old = {ant_rx_3_old}, ant_rx_3_new = {ant_rx_3_new}, "
          "ant_tx_0_old = {ant_tx_0_old}, ant_tx_0_new = {ant_tx_0_new}, "
          "ant_tx_1_old = {ant_tx_1_old}, ant_tx_1_new = {ant_tx_1_new}\n");
constexpr shown_record g_nr5g_meas =
    shown(modem_stats::nr5g_meas_fields.rows,
          "ASDIV DATA: rsrp_rx0: {rsrp_rx0}, rsrp_rx1: {rsrp_rx1}, rsrp_rx2: {rsrp_rx2}, "
          "rsrp_rx3: {rsrp_rx3}, rsrq: {rsrq}\n");
constexpr shown_record g_wcdma_agc =
    shown(modem_stats::wcdma_pn_search_fields.rows,
          "ASDIV DATA: rx_agc_0: {rx_agc_0}, rx_agc_1: {rx_agc_1}\n");
constexpr shown_record g_gsm_agc = shown(modem_stats::gsm_rx_diversity_fields.rows,
                                         "ASDIV DATA: rx_prx: {rx_prx}, rx_drx: {rx_drx}\n");
constexpr shown_record g_antenna_info =
    shown(modem_stats::antenna_info_fields.rows,
          "ANT INFO: ant_num: {ant_number}, ant_path: {ant_switch_path}, sig_path: {sig_path}, "
          "old_config: {old_config}, new_config: {new_config}\n");

int read_and_print(const shown_record& kind) {
  std::array<field_value, max_fields> values{};
  for (std::size_t i = 0; i < kind.fields.size(); ++i) {
    const auto value = take(kind.fields[i]);
    if (!value) return 1;
    values.at(i) = *value;
  }
  walk(
      kind.line,
      [](std::string_view text) {
        std::printf("%.*s", static_cast<int>(text.size()), text.data());
      },
      [&](std::string_view name) { print(values.at(index_of(kind.fields, name))); });
  return 0;
}
