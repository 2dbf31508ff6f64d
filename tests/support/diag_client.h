// A client of the DIAG port.
#pragma once

#include "support/diag_frame.h"
#include "support/sockets.h"

namespace support {

class diag_client : public open_socket {
 public:
  /// Takes over an open stream.
  explicit diag_client(int stream) : open_socket(stream) {}
  explicit diag_client(const std::string& path) : open_socket(connected(path, SOCK_STREAM)) {}

  void send(const bytes& packet) const { write(diag_frame(packet)); }

  /// With its 7E. Throws when nothing comes; nothing at all when the modem hung up.
  [[nodiscard]] bytes receive_frame(std::chrono::milliseconds limit = std::chrono::seconds(30)) {
    for (;;) {
      if (const auto frame = take_diag_frame(pending_)) return *frame;
      const bytes more = open_socket::receive(limit);
      if (more.empty()) return {};
      ++reads_;
      pending_ = pending_ + more;
    }
  }
  [[nodiscard]] bytes receive(std::chrono::milliseconds limit = std::chrono::seconds(30)) {
    const bytes frame = receive_frame(limit);
    return frame.empty() ? bytes() : diag_packet(frame);
  }

  bytes ask(const bytes& packet) {
    send(packet);
    return receive();
  }

  [[nodiscard]] int reads() const { return reads_; }

 private:
  bytes pending_;
  int reads_ = 0;
};

}  // namespace support
