// Group 9: statistics records over QMI. Each run requests one record and prints it.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "modem_api/modem_api.h"
#include "modem_stats/records/events.h"
#include "modem_stats/records/lte.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"
#include "modem_stats/records/wcdma_gsm_ims.h"
#include "tvk/command_group.h"
#include "tvk/commands.h"
#include "tvk/qmi_modem_stats_readers.h"
#include "tvk/qmi_modem_stats_request.h"

namespace {

struct option_row {
  int option;
  modem_stats_data_id_e_type id;
  const shown_record* kind;
  bool of_subscription_0 = false;  ///< regardless of the subscription that was asked for
};
constexpr option_row options[] = {
    {0, modem_stats::lte_srv_meas_pcc_record.id, &g_lte_carrier},
    {1, modem_stats::lte_srv_meas_scc1_record.id, &g_lte_carrier},
    {2, modem_stats::lte_srv_meas_scc2_record.id, &g_lte_carrier},
    {3, modem_stats::lte_srv_meas_scc3_record.id, &g_lte_carrier},
    {4, modem_stats::lte_srv_meas_scc4_record.id, &g_lte_carrier},
    {5, modem_stats::lte_srv_meas_scc5_record.id, &g_lte_carrier},
    {6, modem_stats::lte_srv_meas_scc_record.id, &g_lte_carrier},
    {7, modem_stats::nr5g_ll1_fw_rx_control_agc_record.id, &g_nr5g_rssi},
    {8, modem_stats::nr5g_ll1_fw_serving_ftl_record.id, &g_nr5g_snr},
    {9, modem_stats::nr5g_ml1_antenna_switch_diversity_record.id, &g_nr5g_antenna_switch},
    {10, modem_stats::nr5g_ml1_meas_pcc_record.id, &g_nr5g_meas},
    {11, modem_stats::nr5g_ml1_meas_scc1_record.id, &g_nr5g_meas},
    {12, modem_stats::nr5g_ml1_meas_scc2_record.id, &g_nr5g_meas},
    {20, modem_stats::wcdma_pn_search_record.id, &g_wcdma_agc},
    {21, modem_stats::gsm_l1_rx_diversity_record.id, &g_gsm_agc},
    {30, modem_stats::antenna_info_record.id, &g_antenna_info, true},
};

void norvel_test_qmi_modem_stats_callback_event_cb(std::uint32_t /*event*/, const void* /*data*/,
                                                   std::uint32_t /*length*/) {}
void norvel_test_qmi_modem_stats_operational_status_cb(std::uint32_t /*event*/,
                                                       std::uint32_t /*client_type*/) {}

void free_client() {
  modem_api_free_client(static_cast<std::uint32_t>(g_qmi_modem_stats.client_id));
  g_qmi_modem_stats.client_id = -1;
}

void norvel_qmi_modem_stats_api_init() {
  if (g_qmi_modem_stats.client_id != -1) {
    free_client();
    modem_api_release();
  }
  modem_api_init();
  std::uint32_t client_id = 0;
  if (modem_api_init_client(MODEM_API_CLIENT_VS, norvel_test_qmi_modem_stats_callback_event_cb,
                            norvel_test_qmi_modem_stats_operational_status_cb,
                            &client_id) == MODEM_API_SUCCESS) {
    g_qmi_modem_stats.client_id = static_cast<std::int32_t>(client_id);
  }
}

void norvel_qmi_modem_stats_api_deinit() {
  if (g_qmi_modem_stats.client_id != -1) free_client();
  modem_api_release();
}

void norvel_test_qmi_modem_stats_start() {
  const auto result =
      modem_api_set_orvax_feature_status(static_cast<std::uint32_t>(g_qmi_modem_stats.client_id));
  if (result == MODEM_API_SUCCESS) return;
  std::printf("modem_api_set_orvax_feature_status, start fail, result = %d\n",
              static_cast<int>(result));
}

int norvel_test_qmi_modem_stats_hdl(int option, int sub) {
  const auto* const row = std::ranges::find(options, option, &option_row::option);
  if (row == std::end(options)) {
    std::printf("norvel_test_qmi_modem_stats_hdl: Unknown opt(%d), sub(%d)\n", option, sub);
    return 1;
  }
  const int asked = row->of_subscription_0 ? 0 : sub;
  if (const int error = norvel_test_qmi_modem_stats_get(asked, row->id); error != 0) return error;
  return read_and_print(*row->kind);
}

}  // namespace

int norvel_test_qmi_modem_stats_do(int argc, char** argv) {
  constexpr command_group qmi_modem_stats{.number = 9, .least_argc = 4};
  if (!may_run(qmi_modem_stats, argc, argv)) return 1;
  const int option = std::atoi(argv[2]);
  const int sub = std::atoi(argv[3]);
  norvel_qmi_modem_stats_api_init();
  norvel_test_qmi_modem_stats_start();
  std::printf("opt = %d, sub = %d, g_orvax_client_id = %d\n", option, sub,
              g_qmi_modem_stats.client_id);
  const int error = norvel_test_qmi_modem_stats_hdl(option, sub);
  norvel_qmi_modem_stats_api_deinit();
  return error;
}
