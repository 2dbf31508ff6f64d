// Sends raw DIAG requests to the modem, in callback mode or through the diagnostic consumer
// interface (DCI), and waits for the response or drops it.
//
// There is one connection to the DIAG library, one awaited request at a time, and one process-wide
// response buffer. Results are 0, or 1 after a failure, which has been logged.
#pragma once

#include <cstdint>

/// Sends and waits for the response. `time_out` in ms: callback mode takes 1 to 60000, and 3000 for
/// anything else; DCI mode takes any value. The wait lasts at least one tick of 100 ms.
/// `*p_reply_len`: in the capacity of `reply_buf`, out the bytes copied; a longer response is cut.
int norvel_diag_cmd_send_with_result_by_callback_mode(unsigned char* data, unsigned int data_len,
                                                      unsigned char* reply_buf, int* p_reply_len,
                                                      int time_out);
int norvel_diag_cmd_send_with_result_by_dci_mode(unsigned char* data, unsigned int data_len,
                                                 unsigned char* reply_buf, int* p_reply_len,
                                                 int time_out);

/// Head of a malloc'ed block for a worker, which frees it; `data_len` request bytes follow.
struct DiagAsyncRequest {  // NOLINT(readability-identifier-naming): the product's own name
  std::uint32_t data_len;
};

/// Sends a copy of the request on a thread of its own; the outcome is only logged. Mode 0 is
/// callback mode, anything else DCI. Returns 1 when no thread could be started.
int norvel_diag_cmd_send_without_result_start_thread(unsigned char* data, unsigned int data_len,
                                                     int diag_work_mode);
/// Waits until all these threads have ended: if the process ended first, their requests would be
/// lost. After sending, each lingers for a response: 200 ms in callback mode, a second in DCI mode.
void norvel_diag_cmd_send_without_result_wait();
void* norvel_diag_cmd_send_without_result_by_callback_mode_thread_proc(void* request);
void* norvel_diag_cmd_send_without_result_by_dci_mode_thread_proc(void* request);
