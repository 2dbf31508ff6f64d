// The one connection of a process to the DIAG library.
#pragma once

/// Opens the connection, or counts one more user of it. A failure is only logged.
void norvel_diag_init_with_result();
/// Closes the connection, however many users were counted.
void norvel_diag_deinit_with_result();

/// Gets a raw response; `context` points at the processor id.
using norvel_diag_response_handler = int (*)(unsigned char* data, int len, void* context);

/// Registers the handler for the local processor and for every remote one.
void norvel_diag_register_callback(norvel_diag_response_handler callback);
