#include "simulator/ports/qmux_connection.h"

#include <utility>

#include <asio/buffer.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

#include "simulator/ports/qmux_port.h"

namespace sim {
namespace {

constexpr std::size_t max_queued_bytes = std::size_t{1} << 20;

}  // namespace

qmux_connection::qmux_connection(qmux_port& owner, connection_number number, socket_type socket)
    : owner_(owner), number_(number), socket_(std::move(socket)) {}

void qmux_connection::send(std::vector<std::uint8_t> frame) {
  if (closing_) return;
  if (queued_bytes_ + frame.size() > max_queued_bytes) return close_soon("it does not read");
  queued_bytes_ += frame.size();
  queue_.push_back(std::move(frame));
  if (queue_.size() == 1) write_queued();
}

void qmux_connection::receive() {
  socket_.async_read_some(
      asio::buffer(buffer_),
      [self = shared_from_this()](const std::error_code& error, std::size_t size) {
        if (self->closing_) return;
        if (error) return self->close_soon("closed");
        self->received(size);
      });
}

void qmux_connection::received(std::size_t size) {
  frames_.add(std::span(buffer_).first(size));
  while (!closing_) {
    const auto frame = frames_.next();
    if (!frame) break;
    owner_.receive(number_, *frame);
  }
  if (frames_.broken()) return close_soon("it sent what is no QMUX frame");
  if (!closing_) receive();
}

void qmux_connection::write_queued() {
  asio::async_write(socket_, asio::buffer(queue_.front()),
                    [self = shared_from_this()](const std::error_code& error, std::size_t size) {
                      if (self->closing_) return;
                      if (error) return self->close_soon("the peer is gone");
                      self->queued_bytes_ -= size;
                      self->queue_.pop_front();
                      if (!self->queue_.empty()) self->write_queued();
                    });
}

void qmux_connection::close_soon(std::string_view reason) {
  if (std::exchange(closing_, true)) return;
  asio::post(socket_.get_executor(), [self = shared_from_this(), reason] {
    self->owner_.remove(self->number_, reason);
    std::error_code ignored;
    self->socket_.close(ignored);
  });
}

}  // namespace sim
