#include "simulator/ports/connection.h"

#include <cerrno>
#include <optional>
#include <utility>

#include <asio/buffer.hpp>
#include <asio/post.hpp>

#include "host/write_all.h"

namespace sim {
namespace {

using protocol::byte_view;

/// Without packet boundaries, small pieces are joined to about this size.
constexpr std::size_t write_size = std::size_t{64} << 10;

/// How many of the bytes were written; empty when the peer is gone.
std::optional<std::size_t> write_now(int stream, byte_view bytes) {
  const ssize_t size = host::send_some(stream, bytes);
  if (size >= 0) return static_cast<std::size_t>(size);
  if (errno == EAGAIN) return 0;
  return std::nullopt;
}

}  // namespace

connection::connection(peer_stream stream, boundaries kept, std::size_t most_received,
                       std::size_t most_waiting, left_handler left)
    : stream_(std::move(stream)),
      kept_(kept),
      most_received_(most_received),
      most_waiting_(most_waiting),
      left_(std::move(left)),
      buffer_(std::make_unique_for_overwrite<std::uint8_t[]>(most_received)) {
  stream_.non_blocking(true);
}

void connection::receive() {
  stream_.async_read_some(
      asio::buffer(buffer_.get(), most_received_),
      [self = shared_from_this()](const std::error_code& error, std::size_t size) {
        if (self->is_closed_) return;
        if (error) return self->close("closed");
        self->received({self->buffer_.get(), size});
      });
}

void connection::send(byte_view bytes) {
  if (is_closed_) return;
  if (queue_.empty()) {
    const auto taken = write_now(stream_.native_handle(), bytes);
    if (!taken) return close("the peer is gone");
    bytes = bytes.subspan(*taken);
    if (bytes.empty()) return;
  }
  if (bytes.size() > most_waiting_ - waiting_) return close("it does not read");
  const bool waits_already = !queue_.empty();
  enqueue(bytes);
  if (!waits_already) write_when_ready();
}

void connection::enqueue(byte_view bytes) {
  if (kept_ == boundaries::packets || queue_.empty() || queue_.back().size() >= write_size) {
    queue_.emplace_back();
  }
  queue_.back().insert(queue_.back().end(), bytes.begin(), bytes.end());
  waiting_ += bytes.size();
}

void connection::write_when_ready() {
  stream_.async_wait(peer_stream::wait_write,
                     [self = shared_from_this()](const std::error_code& error) {
                       if (!error && !self->is_closed_) self->write_queued();
                     });
}

void connection::write_queued() {
  while (!queue_.empty()) {
    const byte_view front(queue_.front());
    const auto taken = write_now(stream_.native_handle(), front.subspan(written_));
    if (!taken) return close("the peer is gone");
    written_ += *taken;
    waiting_ -= *taken;
    if (written_ < front.size()) break;
    queue_.pop_front();
    written_ = 0;
  }
  if (!queue_.empty()) write_when_ready();
  made_room();
}

void connection::close(std::string_view reason) {
  if (std::exchange(is_closed_, true)) return;
  asio::post(stream_.get_executor(), [self = shared_from_this(), reason] {
    self->left_(reason);
    std::error_code ignored;
    self->stream_.close(ignored);
  });
}

}  // namespace sim
