// Raw DIAG requests to the modem, in callback mode or through the diagnostic consumer interface
// (DCI), with the response awaited or dropped.
//
// There is one connection to the DIAG library, one awaited request at a time, and one process-wide
// response. Results are 0, or 1 for a failure that was logged.
#pragma once

#include <cstdint>

/// Sends and waits. `time_out` in ms: in callback mode 1 to 60000, anything else is 3000; in DCI
/// mode taken as it is. At least one tick of 100 ms is waited. `*p_reply_len`: in the capacity of
/// `reply_buf`, out the bytes copied; a longer response is cut.
int norvel_diag_cmd_send_with_result_by_callback_mode(unsigned char* data, unsigned int data_len,
                                                      unsigned char* reply_buf, int* p_reply_len,
                                                      int time_out);
int norvel_diag_cmd_send_with_result_by_dci_mode(unsigned char* data, unsigned int data_len,
                                                 unsigned char* reply_buf, int* p_reply_len,
                                                 int time_out);

/// Head of a malloc'ed block handed to a worker, which frees it: `data_len` request bytes follow.
struct DiagAsyncRequest {  // NOLINT(readability-identifier-naming): the product's own name
  std::uint32_t data_len;
};

/// Sends a copy of the request on a thread of its own, whose outcome is only logged. Mode 0 is
/// callback mode, any other DCI. 1 when no thread could be started.
int norvel_diag_cmd_send_without_result_start_thread(unsigned char* data, unsigned int data_len,
                                                     int diag_work_mode);
/// Returns when every such thread has sent its request, or failed to: the end of the process would
/// be the end of the request. Each takes as long as it gives a response to come, 200 ms in callback
/// mode and a second in DCI mode.
void norvel_diag_cmd_send_without_result_wait();
void* norvel_diag_cmd_send_without_result_by_callback_mode_thread_proc(void* request);
void* norvel_diag_cmd_send_without_result_by_dci_mode_thread_proc(void* request);
