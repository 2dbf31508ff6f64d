// A client of the DIAG port: raw socket calls, frames taken apart and put together by hand.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

#include "support/bytes.h"
#include "support/modem_connection.h"

namespace support {

/// CRC-16/X.25, a bit at a time.
inline std::uint16_t diag_crc(const bytes& packet) {
  unsigned crc = 0xFFFF;
  for (const std::uint8_t byte : packet) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ 0x8408 : crc >> 1;
  }
  return static_cast<std::uint16_t>(crc ^ 0xFFFF);
}

inline bytes diag_frame(bytes packet) {
  const std::uint16_t crc = diag_crc(packet);
  packet.push_back(static_cast<std::uint8_t>(crc));
  packet.push_back(static_cast<std::uint8_t>(crc >> 8));
  bytes frame;
  for (const std::uint8_t byte : packet) {
    if (byte == 0x7D || byte == 0x7E) frame.push_back(0x7D);
    frame.push_back(byte == 0x7D || byte == 0x7E ? byte ^ 0x20 : byte);
  }
  frame.push_back(0x7E);
  return frame;
}

/// Throws for a frame with a wrong CRC.
inline bytes diag_packet(const bytes& frame) {
  bytes packet;
  for (std::size_t i = 0; i + 1 < frame.size(); ++i) {
    packet.push_back(frame[i] == 0x7D ? frame[++i] ^ 0x20 : frame[i]);
  }
  if (packet.size() < 3) throw std::runtime_error("short frame");
  const auto crc = static_cast<std::uint16_t>(packet[packet.size() - 2] | packet.back() << 8);
  packet.resize(packet.size() - 2);
  if (crc != diag_crc(packet)) throw std::runtime_error("wrong CRC");
  return packet;
}

class diag_client {
 public:
  /// Takes over an open stream.
  explicit diag_client(int stream) : stream_(stream) {}
  explicit diag_client(const std::string& path) : diag_client(connected(path, SOCK_STREAM)) {}
  diag_client(const diag_client&) = delete;
  diag_client& operator=(const diag_client&) = delete;
  ~diag_client() { ::close(stream_); }

  void send_raw(const bytes& frame) const {
    if (::write(stream_, frame.data(), frame.size()) != static_cast<ssize_t>(frame.size())) {
      throw std::runtime_error("write");
    }
  }
  void send(const bytes& packet) const { send_raw(diag_frame(packet)); }

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
      const ssize_t size = ::read(stream_, more.data(), more.size());
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

  [[nodiscard]] bool readable(std::chrono::milliseconds limit) const {
    return support::readable(stream_, limit);
  }
  /// How often something could be read.
  [[nodiscard]] int reads() const { return reads_; }

 private:
  int stream_;
  bytes pending_;
  int reads_ = 0;
};

}  // namespace support
