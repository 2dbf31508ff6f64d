#include "simulator/ports/modem_connection.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>
#include <utility>

#include <asio/buffer.hpp>
#include <asio/post.hpp>

#include "protocol/modem_socket.h"
#include "simulator/ports/modem_socket.h"

namespace sim {
namespace {

namespace wire = protocol::modem_socket;

// One more than a packet can have, so that a longer one shows.
constexpr std::size_t buffer_size = wire::max_packet_size + 1;
constexpr std::size_t max_queued_bytes = std::size_t{1} << 20;

bool is_full(int error) {
  return error == EAGAIN || error == EWOULDBLOCK;
}

/// Sends the address and the datagram as one packet, without waiting. 0 or errno.
int send_now(int socket, protocol::byte_view address, protocol::byte_view datagram) {
  const auto part = [](protocol::byte_view bytes) {
    // sendmsg only reads.
    return iovec{const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
  };
  std::array<iovec, 2> parts{part(address), part(datagram)};
  msghdr packet{};
  packet.msg_iov = parts.data();
  packet.msg_iovlen = parts.size();
  while (::sendmsg(socket, &packet, MSG_DONTWAIT | MSG_NOSIGNAL) < 0) {
    if (errno != EINTR) return errno;
  }
  return 0;
}

}  // namespace

modem_connection::modem_connection(modem_socket_port& owner, std::uint32_t client_port,
                                   socket_type socket)
    : owner_(owner),
      client_port_(client_port),
      socket_(std::move(socket)),
      buffer_(std::make_unique_for_overwrite<std::uint8_t[]>(buffer_size)) {}

void modem_connection::send(protocol::qrtr::address from, protocol::byte_view datagram) {
  if (closing_) return;
  const auto address = wire::build_address(from);
  if (queue_.empty()) {
    const int error = send_now(socket_.native_handle(), address, datagram);
    if (error == 0) return;
    if (!is_full(error)) return close_soon("the peer is gone");
  }
  const std::size_t size = address.size() + datagram.size();
  if (queued_bytes_ + size > max_queued_bytes) return close_soon("it does not read");
  auto& packet = queue_.emplace_back(address.begin(), address.end());
  packet.insert(packet.end(), datagram.begin(), datagram.end());
  queued_bytes_ += size;
  if (queue_.size() == 1) wait_until_writable();
}

void modem_connection::receive() {
  socket_.async_receive(
      asio::buffer(buffer_.get(), buffer_size), received_flags_,
      [self = shared_from_this()](const std::error_code& error, std::size_t size) {
        if (self->closing_) return;
        if (error) return self->close_soon("closed");
        self->received(size);
      });
}

void modem_connection::received(std::size_t size) {
  if (size == 0) return close_soon("closed");
  if (size < wire::address_size) return close_soon("it sent a packet that is too short");
  owner_.receive(client_port_, {buffer_.get(), size});
  if (!closing_) receive();
}

void modem_connection::wait_until_writable() {
  socket_.async_wait(socket_type::wait_write,
                     [self = shared_from_this()](const std::error_code& error) {
                       if (!error && !self->closing_) self->write_queued();
                     });
}

void modem_connection::write_queued() {
  while (!queue_.empty()) {
    const auto& packet = queue_.front();
    const int error = send_now(socket_.native_handle(), packet, {});
    if (is_full(error)) return wait_until_writable();
    if (error != 0) return close_soon("the peer is gone");
    queued_bytes_ -= packet.size();
    queue_.pop_front();
  }
}

void modem_connection::close_soon(std::string_view reason) {
  if (std::exchange(closing_, true)) return;
  asio::post(socket_.get_executor(), [self = shared_from_this(), reason] {
    self->owner_.remove(self->client_port_, reason);
    std::error_code ignored;
    self->socket_.close(ignored);
  });
}

}  // namespace sim
