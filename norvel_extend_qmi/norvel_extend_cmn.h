// The client of the vendor's extension service, and what is sent through it to many ends.
#pragma once

#include "platform/qmi_client.h"

/// What the service takes and gives in one exchange.
constexpr unsigned int norvel_extend_qmi_max_data = 512;

enum norvel_extend_result : int {
  norvel_extend_ok = 0,
  norvel_extend_invalid_argument = -1,
  norvel_extend_no_client = -2,
  norvel_extend_exchange_failed = -3,  ///< transport failure, or a result of the service but 0
};

/// One exchange with the extension service; waits for the service without limit the first time.
/// `type`: the vendor function. `*rsp_len`: in the capacity of `rsp_data`, out the bytes copied; a
/// longer answer is cut. At most 512 bytes each way. Returns a norvel_extend_result.
int norvel_extend_qmi_send_sync(unsigned int type, unsigned char* req_data, int req_len,
                                void* rsp_data, unsigned int* rsp_len);

/// The extension client's indication callback: tells what came, acts on nothing.
void norvel_extend_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id, void* ind_buf,
                              unsigned int ind_buf_len, void* ind_cb_data);

/// For clients that want no indications: logs the message id.
void norvel_qcril_qmi_client_common_empty_unsol_ind_cb(qmi_client_type user_handle,
                                                       unsigned int msg_id, void* ind_buf,
                                                       unsigned int ind_buf_len, void* ind_cb_data);

/// Bytes of payload that a common message carries, and of the answer to one.
constexpr unsigned int norvel_common_msg_max_data = 496;
constexpr unsigned int norvel_common_msg_rsp_size = 508;

/// Sends common message `t` with `l` bytes of `v`. The answer lands in `rsp`, which has room for
/// norvel_common_msg_rsp_size bytes; it stays zero when the exchange fails.
void norvel_send_common_qmi_msg(unsigned int t, unsigned int l, void* v, void* rsp);
