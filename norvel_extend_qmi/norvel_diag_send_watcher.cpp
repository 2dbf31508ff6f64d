#include "norvel_extend_qmi/norvel_diag_send_watcher.h"

#include <cstdint>

#include "norvel_extend_qmi/norvel_diag_send_response.h"
#include "norvel_extend_qmi/norvel_diag_thread.h"
#include "norvel_extend_qmi/norvel_diag_wait.h"
#include "qcril-common/utilities/norvel_ril_log.h"
#include "qcril-common/utilities/pause.h"

void* norvel_diag_cmd_send_with_result_wait_thread_proc(void* /*unused*/) {
  using norvel_diag::g_diag_wait;
  NORVEL_LOG_ENTRY();
  const std::uint64_t connection = g_diag_wait.connection();
  int count = 0;
  do {
    pause_for(norvel_diag::tick);
    ++count;
    NORVEL_LOG("norvel_diag_cmd_send_with_result_wait_thread_proc, cnt_of_100ms = %d", count);
  } while (g_diag_wait.still_waiting(connection, count));

  // If the last piece happens to be full as well, nothing marked the end of the response.
  const int length = norvel_diag::response_length();
  if (length != 0 && length % norvel_diag::dci_piece_size == 0) {
    NORVEL_LOG("stop waiting, receive success, length is times of 4096");
    g_diag_wait.post(connection);
  } else if (g_diag_wait.gives_up(connection, count)) {
    NORVEL_LOG("stop waiting");
    g_diag_wait.post(connection);
  }
  NORVEL_LOG_EXIT();
  return nullptr;
}

void norvel_diag_cmd_send_with_result_wait_create_thread() {
  NORVEL_LOG_ENTRY();
  const int created =
      norvel_diag::start_thread(norvel_diag_cmd_send_with_result_wait_thread_proc, nullptr);
  NORVEL_LOG("norvel daig is created, conf = %d", created);  // sic
  NORVEL_LOG_EXIT();
}
