// QMUX: QMI messages of several services and clients on one byte stream. A frame is
//   marker 0x01 | length u16, of all that follows the marker | flags u8, 0x80 from the modem
//   | service u8 | client u8 | message
// The messages of service 0 (CTL), which allocates client ids, have a different header:
//   kind u8: 0 request, 1 response, 2 indication | transaction u8 | message id u16 | TLV bytes u16
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "protocol/bytes.h"

namespace protocol::qmux {

constexpr std::uint8_t control_service = 0;

struct frame {
  std::uint8_t service = 0;
  std::uint8_t client = 0;
  byte_view message;
};

/// A frame from the modem; `message` has at most 65530 bytes.
[[nodiscard]] std::vector<std::uint8_t> build_frame(const frame& what);

/// Cuts a stream, which may arrive in arbitrary pieces, into frames. Buffers at most one frame and
/// a piece.
class frame_cutter {
 public:
  void add(byte_view piece);

  /// The next complete frame, valid until the next call. No more frames once `broken()`.
  [[nodiscard]] std::optional<frame> next();

  /// The input is not QMUX, so it is unknown where the next frame begins.
  [[nodiscard]] bool broken() const { return broken_; }

 private:
  std::vector<std::uint8_t> bytes_;
  std::size_t used_ = 0;
  bool broken_ = false;
};

struct control_message {
  std::uint8_t transaction = 0;
  std::uint16_t message_id = 0;
  byte_view tlvs;
};

/// No value unless it is a request's header and exactly the TLV bytes that it announces.
[[nodiscard]] std::optional<control_message> parse_control_request(byte_view message);
[[nodiscard]] std::vector<std::uint8_t> build_control_response(const control_message& response);

}  // namespace protocol::qmux
