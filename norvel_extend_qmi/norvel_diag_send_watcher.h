// The thread that ends the wait for a response.
#pragma once

/// Starts it for the request that is waiting. A failure to start is only logged.
void norvel_diag_cmd_send_with_result_wait_create_thread();
void* norvel_diag_cmd_send_with_result_wait_thread_proc(void* unused);
