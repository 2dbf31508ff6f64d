// The response that a request is waiting for, and the handlers through which the library delivers
// it.
#pragma once

#include <span>

constexpr int norvel_diag_max_response = 10240;

namespace norvel_diag {

/// The library delivers longer DCI responses in pieces of this size.
constexpr int dci_piece_size = 4096;

/// Size of the stored response.
[[nodiscard]] int response_length();

/// Copies as much as fits; returns the size of the stored response.
int copy_response(std::span<unsigned char> room);

/// Frees the stored response.
void drop_response();

}  // namespace norvel_diag

// Handlers return 0, or 1 after logging a failure.

/// Accepts a response of 1 to 10240 bytes, and logs it as hex. A null context means processor -1.
int norvel_diag_cmd_response_check(unsigned char* data, int len, const void* context);

/// Stores the response in place of the previous one, and ends the wait for it.
int norvel_diag_cmd_response_by_callback(unsigned char* data, int len, void* context);
/// Appends a piece to the response; a piece that is not exactly 4096 bytes long ends the wait.
int norvel_diag_cmd_response_by_dci(unsigned char* data, int len, void* context);
/// Log the bytes.
void norvel_diag_cmd_response_by_dci_log_stream(unsigned char* data, int len);
void norvel_diag_cmd_response_by_dci_event_stream(unsigned char* data, int len);
/// Log only the length.
int norvel_diag_cmd_response_by_callback_no_handle(unsigned char* data, int len, void* context);
int norvel_diag_cmd_response_by_dci_no_handle(unsigned char* data, int len, void* context);
void norvel_diag_cmd_response_by_dci_log_stream_no_handle(unsigned char* data, int len);
void norvel_diag_cmd_response_by_dci_event_stream_no_handle(unsigned char* data, int len);
