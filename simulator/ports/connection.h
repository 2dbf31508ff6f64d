// What the connections of all ports share: a stream that the event loop reads and writes, a queue
// of what the peer has not read yet, and an orderly close.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

#include <asio/posix/stream_descriptor.hpp>

#include "protocol/bytes.h"

namespace sim {

/// A socket of any kind, or the modem's side of a terminal.
using peer_stream = asio::posix::stream_descriptor;

/// Whether packet boundaries are kept: a packet is then sent in one write or not at all.
enum class boundaries : std::uint8_t { none, packets };

class connection : public std::enable_shared_from_this<connection> {
 public:
  connection(const connection&) = delete;
  connection& operator=(const connection&) = delete;
  virtual ~connection() = default;

  /// Called from the event loop when the connection ends, with the reason.
  using left_handler = std::function<void(std::string_view reason)>;

  /// Begins to receive.
  void start() { receive(); }
  /// Stops sending and receiving. The connection is removed later from the event loop, because the
  /// caller may be iterating over the list of connections.
  void close(std::string_view reason);

 protected:
  static constexpr std::size_t usual_most_waiting = std::size_t{1} << 20;
  static constexpr std::size_t no_limit = std::numeric_limits<std::size_t>::max();

  /// Receives up to `most_received` bytes at a time. A peer that leaves more than `most_waiting`
  /// unread is dropped.
  connection(peer_stream stream, boundaries kept, std::size_t most_received,
             std::size_t most_waiting, left_handler left);

  /// Waits for bytes once and hands them to received().
  void receive();
  /// Sends at once if the peer keeps up, otherwise queues.
  void send(protocol::byte_view bytes);

  [[nodiscard]] bool is_closed() const { return is_closed_; }
  /// Bytes that the peer has not read yet.
  [[nodiscard]] std::size_t waiting() const { return waiting_; }

  /// The bytes stay until the next receive().
  virtual void received(protocol::byte_view bytes) = 0;
  /// The peer has read some of the queue.
  virtual void made_room() {}

 private:
  void enqueue(protocol::byte_view bytes);
  void write_when_ready();
  void write_queued();

  peer_stream stream_;
  const boundaries kept_;
  const std::size_t most_received_;
  const std::size_t most_waiting_;
  const left_handler left_;
  std::unique_ptr<std::uint8_t[]> buffer_;
  std::deque<std::vector<std::uint8_t>> queue_;
  std::size_t written_ = 0;  ///< of the first in the queue
  std::size_t waiting_ = 0;
  bool is_closed_ = false;
};

}  // namespace sim
