// Raw DIAG requests to the modem, in callback mode or through the diagnostic consumer interface
// (DCI), with the answer awaited or not.
//
// There is one connection to the DIAG library, one awaited request at a time, and one process-wide
// response. Results are 0, or 1 for a failure that was logged.
#pragma once

#include <cstdint>

constexpr unsigned int norvel_diag_max_request = 4096;
constexpr int norvel_diag_max_response = 10240;

/// Opens the connection, or counts one more user of it.
void norvel_diag_init_with_result();
/// Closes the connection, however many users were counted.
void norvel_diag_deinit_with_result();

/// Gets a raw response; `context` points at the processor id.
using norvel_diag_response_handler = int (*)(unsigned char* data, int len, void* context);

/// Registers the handler for the local processor and for every remote one.
void norvel_diag_register_callback(norvel_diag_response_handler callback);

/// A request of 1 to 4096 bytes; it is shown as hex.
int norvel_diag_comand_input_check(unsigned char* data, unsigned int data_len);
/// A capacity above 0.
int norvel_diag_comand_output_check(const unsigned char* reply_buf, const int* p_reply_len);
/// A response of 1 to 10240 bytes; it is shown as hex. A null context is processor -1.
int norvel_diag_cmd_response_check(unsigned char* data, int len, const void* context);

/// Keeps the response in place of the one before, and ends the wait for it.
int norvel_diag_cmd_response_by_callback(unsigned char* data, int len, void* context);
/// Joins the pieces of a response; one that is not exactly 4096 bytes long ends the wait.
int norvel_diag_cmd_response_by_dci(unsigned char* data, int len, void* context);
/// Show what comes.
void norvel_diag_cmd_response_by_dci_log_stream(unsigned char* data, int len);
void norvel_diag_cmd_response_by_dci_event_stream(unsigned char* data, int len);
/// Log the length alone.
int norvel_diag_cmd_response_by_callback_no_handle(unsigned char* data, int len, void* context);
int norvel_diag_cmd_response_by_dci_no_handle(unsigned char* data, int len, void* context);
void norvel_diag_cmd_response_by_dci_log_stream_no_handle(unsigned char* data, int len);
void norvel_diag_cmd_response_by_dci_event_stream_no_handle(unsigned char* data, int len);

/// Sends and waits. `time_out` in ms: in callback mode 1 to 60000, anything else is 3000; in DCI
/// mode taken as it is. At least one tick of 100 ms is waited. `*p_reply_len`: in the capacity of
/// `reply_buf`, out the bytes copied; a longer response is cut.
int norvel_diag_cmd_send_with_result_by_callback_mode(unsigned char* data, unsigned int data_len,
                                                      unsigned char* reply_buf, int* p_reply_len,
                                                      int time_out);
int norvel_diag_cmd_send_with_result_by_dci_mode(unsigned char* data, unsigned int data_len,
                                                 unsigned char* reply_buf, int* p_reply_len,
                                                 int time_out);

/// Starts the thread that ends the wait for a response.
void norvel_diag_cmd_send_with_result_wait_create_thread();
void* norvel_diag_cmd_send_with_result_wait_thread_proc(void* unused);

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
