// A modem's DIAG port on a host: how it is named, and how packets pass.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "protocol/bytes.h"
#include "protocol/hdlc.h"

namespace protocol::diag {

/// The environment variable from which clients learn its name.
inline constexpr const char* port_variable = "TVK_DIAG";
/// The default: the name of a socket in the runtime directory.
inline constexpr const char* port_socket = "diag.sock";

/// The message to the user for a port that cannot be opened. `forms`: the accepted forms of names.
inline std::string unusable_port(const std::string& name, const std::string& why,
                                 const std::string& forms) {
  return "DIAG port " + name + ": " + why + "; expected one of a modem, as " + port_variable + "=" +
         forms;
}

/// A port that keeps packets carries each packet as it is, a byte stream as a frame.
class framing {
 public:
  framing() = default;
  explicit framing(bool keeps_packets) : keeps_packets_(keeps_packets) {}

  /// What to write for a packet.
  [[nodiscard]] byte_view to_write(byte_view packet) {
    return keeps_packets_ ? packet : framed(packet);
  }
  /// What was read at once, as part of a stream of frames. Valid until the next call.
  [[nodiscard]] byte_view as_frames(byte_view read) { return keeps_packets_ ? framed(read) : read; }

 private:
  byte_view framed(byte_view packet) {
    frame_.clear();
    hdlc::append_frame(frame_, packet);
    return frame_;
  }

  bool keeps_packets_ = false;
  std::vector<std::uint8_t> frame_;
};

}  // namespace protocol::diag
