#include "norvel_extend_qmi/norvel_diag_send_connection.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "norvel_extend_qmi/norvel_diag_wait.h"
#include "norvel_extend_qmi/norvel_extend_cmn_text.h"
#include "platform/diag.h"
#include "qcril-common/utilities/checked.h"
#include "qcril-common/utilities/norvel_ril_log.h"

namespace {

/// Successful opens since the last close; 0 while closed.
int g_diag_init_status = 0;

/// Callback contexts, to which the library keeps pointers: the local processor, then the remote
/// ones.
constexpr int remote_processors = 16;
std::array<int, 1 + remote_processors> g_processor_ids{0, 1,  2,  3,  4,  5,  6,  7, 8,
                                                       9, 10, 11, 12, 13, 14, 15, 16};

}  // namespace

void norvel_diag_init_with_result() {
  NORVEL_LOG_ENTRY();
  if (g_diag_init_status != 0) {
    NORVEL_LOG("diag init done, g_diag_init_status = %d", g_diag_init_status);
    g_diag_init_status = checked_add(g_diag_init_status, 1);
  } else if (Diag_LSM_Init(nullptr) == 0) {
    NORVEL_LOG("LSM init failed");
  } else {
    norvel_diag::g_diag_wait.open();
    g_diag_init_status = 1;
  }
  NORVEL_LOG_EXIT();
}

void norvel_diag_deinit_with_result() {
  NORVEL_LOG_ENTRY();
  Diag_LSM_DeInit();
  g_diag_init_status = 0;
  norvel_diag::g_diag_wait.close();
  NORVEL_LOG_EXIT();
}

void norvel_diag_register_callback(norvel_diag_response_handler callback) {
  diag_register_callback(callback, g_processor_ids.data());
  std::uint16_t mask = 0;
  diag_has_remote_device(&mask);
  NORVEL_LOG("register call back, g_diag_channel = [%d]%s, data_primary = %d, remote_mask = [%d]%s",
             0, "MSM", g_processor_ids[0], mask, norvel_print_diag_mask_name(mask));
  for (int k = 1; k <= remote_processors; ++k) {
    if ((mask >> (k - 1) & 1) == 0) continue;
    NORVEL_LOG("register remote call back, data_remote = %d", k);
    diag_register_remote_callback(callback, k, &g_processor_ids.at(static_cast<std::size_t>(k)));
  }
}
