// Accepts connections for as long as it exists, even after running out of descriptors for a while.
#pragma once

#include <sys/socket.h>

#include <chrono>
#include <functional>
#include <utility>

#include <asio/basic_socket_acceptor.hpp>
#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "host/file_descriptor.h"
#include "simulator/ports/connection.h"

namespace sim {

template <typename Protocol>
class listener {
 public:
  using socket_type = typename Protocol::socket;

  /// `bound` is a socket of this kind.
  listener(asio::io_context& io, host::file_descriptor bound,
           const Protocol& kind = Protocol(AF_UNIX, 0))
      : acceptor_(io), again_(io) {
    acceptor_.assign(kind, bound.release());
  }

  void start(std::function<void(peer_stream)> accepted) {
    accepted_ = std::move(accepted);
    acceptor_.listen();
    accept();
  }

 private:
  void accept() {
    acceptor_.async_accept([this](const std::error_code& error, socket_type socket) {
      if (error == asio::error::operation_aborted) return;
      if (error) return accept_later();
      accepted_(peer_stream(acceptor_.get_executor(), socket.release()));
      accept();
    });
  }

  /// Without free descriptors, the only remedy is to wait until a client leaves.
  void accept_later() {
    again_.expires_after(std::chrono::milliseconds(100));
    again_.async_wait([this](const std::error_code& cancelled) {
      if (!cancelled) accept();
    });
  }

  asio::basic_socket_acceptor<Protocol> acceptor_;
  asio::steady_timer again_;
  std::function<void(peer_stream)> accepted_;
};

}  // namespace sim
