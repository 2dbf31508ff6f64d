// A client of the DIAG port.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

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
    for (std::size_t looked_at = 0;;) {
      for (std::size_t i = looked_at; i < pending_.size(); ++i) {
        if (pending_[i] != 0x7E) continue;
        const auto end = pending_.begin() + static_cast<std::ptrdiff_t>(i) + 1;
        bytes frame(pending_.begin(), end);
        pending_.erase(pending_.begin(), end);
        return frame;
      }
      looked_at = pending_.size();
      if (!readable(limit)) throw std::runtime_error("nothing received");
      bytes more(65536);
      const ssize_t size = ::read(descriptor_, more.data(), more.size());
      if (size <= 0) return {};
      ++reads_;
      more.resize(static_cast<std::size_t>(size));
      pending_.insert(pending_.end(), more.begin(), more.end());
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
