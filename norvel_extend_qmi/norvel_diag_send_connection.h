// The process's only connection to the DIAG library.
#pragma once

/// Opens the connection or, if it is open, counts one more user. A failure is only logged.
void norvel_diag_init_with_result();
/// Closes the connection, regardless of the number of users.
void norvel_diag_deinit_with_result();

/// Receives a raw response; `context` points to the processor id.
using norvel_diag_response_handler = int (*)(unsigned char* data, int len, void* context);

/// Registers the handler for the local processor and for every remote one.
void norvel_diag_register_callback(norvel_diag_response_handler callback);
