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
/// In the place of a client's id: an indication for all clients of the service.
constexpr std::uint8_t all_clients = 0xFF;

enum class sender : std::uint8_t { client = 0x00, modem = 0x80 };

struct frame {
  std::uint8_t service = 0;
  std::uint8_t client = 0;
  byte_view message;
};

/// `message` has at most `longest_message` bytes.
[[nodiscard]] std::vector<std::uint8_t> build_frame(sender from, const frame& what);
constexpr std::size_t longest_message = 65530;

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

/// The messages of CTL. The last one is for a proxy in front of the device.
enum class control_id : std::uint16_t {
  set_instance_id = 0x0020,
  get_version_info = 0x0021,
  allocate_client = 0x0022,
  release_client = 0x0023,
  set_data_format = 0x0026,
  sync = 0x0027,
  open_through_proxy = 0xFF00,
};
/// The TLV that carries the one argument or result of most of them.
constexpr std::uint8_t control_value_tlv = 0x01;

enum class control_kind : std::uint8_t { request = 0, response = 1, indication = 2 };

struct control_message {
  control_kind kind = control_kind::request;
  std::uint8_t transaction = 0;
  control_id id{};
  byte_view tlvs;
};

/// No value unless it is a header of a known kind and exactly the TLV bytes that it announces.
[[nodiscard]] std::optional<control_message> parse_control(byte_view message);
[[nodiscard]] std::vector<std::uint8_t> build_control(const control_message& message);

}  // namespace protocol::qmux
