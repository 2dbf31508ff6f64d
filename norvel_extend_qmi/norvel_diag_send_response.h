// The response that a request waits for, and the handlers that the library calls with it.
#pragma once

#include <span>

constexpr int norvel_diag_max_response = 10240;

namespace norvel_diag {

/// The most that the library hands over of a DCI response in one piece.
constexpr int dci_piece_size = 4096;

/// Bytes held.
[[nodiscard]] int response_length();

/// Copies what fits; returns the bytes held.
int copy_response(std::span<unsigned char> room);

/// Nothing is held any more.
void drop_response();

}  // namespace norvel_diag

// Handlers return 0, or 1 for a failure that was logged.

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
