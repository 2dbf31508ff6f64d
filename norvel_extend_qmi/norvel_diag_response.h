// The response that a request waits for.
#pragma once

#include <span>

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
