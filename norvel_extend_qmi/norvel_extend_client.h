// The client of the vendor's extension service.
#pragma once

#include "platform/qmi_client.h"

/// Bytes that one exchange carries in either direction.
constexpr unsigned int norvel_extend_qmi_max_data = 512;

enum norvel_extend_result : int {
  norvel_extend_ok = 0,
  norvel_extend_invalid_argument = -1,
  norvel_extend_no_client = -2,
  norvel_extend_exchange_failed = -3,  ///< transport failure, or the service's result is not 0
};

/// One exchange with the extension service. The first call waits indefinitely for the service.
/// `type`: the vendor function. `*rsp_len`: in the capacity of `rsp_data`, out the bytes copied; a
/// longer answer is cut. At most 512 bytes each way. Returns a norvel_extend_result.
int norvel_extend_qmi_send_sync(unsigned int type, unsigned char* req_data, int req_len,
                                void* rsp_data, unsigned int* rsp_len);

/// The extension client's indication callback: only prints what arrived.
void norvel_extend_qmi_ind_cb(qmi_client_type user_handle, unsigned int msg_id, void* ind_buf,
                              unsigned int ind_buf_len, void* ind_cb_data);
