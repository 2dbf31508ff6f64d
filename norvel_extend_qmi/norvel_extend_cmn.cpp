#include "norvel_extend_qmi/norvel_extend_cmn.h"

#include <algorithm>
#include <cstring>

#include "norvel_extend_qmi/norvel_common_msg.h"
#include "qcril-common/utilities/norvel_ril_log.h"

void norvel_qcril_qmi_client_common_empty_unsol_ind_cb(qmi_client_type /*user_handle*/,
                                                       unsigned int msg_id, void* /*ind_buf*/,
                                                       unsigned int /*ind_buf_len*/,
                                                       void* /*ind_cb_data*/) {
  NORVEL_LOG("msg_id %d", static_cast<int>(msg_id));
}

namespace {

void send_message(const char* function, unsigned int t, unsigned int l, void* v, void* rsp) {
  if (rsp == nullptr) {
    NORVEL_LOG_AS(function, "rsp is NULL");
    return;
  }
  std::memset(rsp, 0, norvel_common_msg_rsp_size);
  norvel_common_msg message{};
  NORVEL_LOG_AS(function, "t %d", static_cast<int>(t));
  NORVEL_LOG_AS(function, "l %d", static_cast<int>(l));
  if (l != 0 && v == nullptr) {
    NORVEL_LOG_AS(function, "v is null");
    return;
  }
  message.kind = norvel_common_msg_kind;
  message.t = t;
  message.l = l;
  if (l != 0) std::memcpy(message.v, v, std::min(l, norvel_common_msg_max_data));
  unsigned int capacity = norvel_common_msg_rsp_size;
  norvel_extend_qmi_send_sync(norvel_common_msg_request_type,
                              reinterpret_cast<unsigned char*>(&message), sizeof message, rsp,
                              &capacity);
}

}  // namespace

void norvel_send_common_qmi_msg(unsigned int t, unsigned int l, void* v, void* rsp) {
  NORVEL_LOG_ENTRY();
  send_message(__func__, t, l, v, rsp);
  NORVEL_LOG_EXIT();
}
