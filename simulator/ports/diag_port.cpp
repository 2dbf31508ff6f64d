#include "simulator/ports/diag_port.h"

#include <arpa/inet.h>
#include <fmt/core.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <chrono>
#include <utility>

#include "simulator/failure.h"

namespace sim {
namespace {

constexpr std::chrono::milliseconds terminal_retry{100};

sockaddr* generic(sockaddr_in& address) {
  return reinterpret_cast<sockaddr*>(&address);
}

/// Bound to this host only. Sets `port` to the port that the kernel chose.
host::file_descriptor bind_tcp(std::uint16_t& port) {
  const std::string name = fmt::format("TCP port {}", port);
  host::file_descriptor made(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!made.valid()) fail_to("make a socket for", name);
  const int on = 1;
  ::setsockopt(made.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
  sockaddr_in address{};
  socklen_t size = sizeof(address);
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::bind(made.get(), generic(address), size) != 0) fail_to("use", name);
  if (::getsockname(made.get(), generic(address), &size) != 0) fail_to("ask for", name);
  port = ntohs(address.sin_port);
  return made;
}

/// Answers are small, and clients wait for them.
void send_at_once(peer_stream& stream) {
  const int on = 1;
  ::setsockopt(stream.native_handle(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

}  // namespace

diag_port::diag_port(asio::io_context& io, const diag_ways& ways)
    : io_(io),
      path_(ways.socket, SOCK_STREAM),
      unix_(io, path_.take_socket()),
      terminal_(io),
      terminal_again_(io) {
  if (ways.tcp) {
    tcp_port_ = *ways.tcp;
    tcp_.emplace(io, bind_tcp(tcp_port_), protocol_type(AF_INET, IPPROTO_TCP));
  }
  if (!ways.terminal.empty()) {
    terminal_.assign(open_pseudo_terminal().release());
    link_.emplace(ways.terminal, terminal_of(terminal_.native_handle()));
  }
}

diag_port::~diag_port() = default;

void diag_port::start(diag_server& server) {
  server_ = &server;
  unix_.start([this](peer_stream socket) { add(std::move(socket)); });
  if (tcp_) {
    tcp_->start([this](peer_stream socket) {
      send_at_once(socket);
      add(std::move(socket));
    });
  }
  if (link_) wait_at_terminal();
}

void diag_port::add(peer_stream stream) {
  const unsigned number = next_++;
  server_->trace.diag_note(number, "connects");
  const auto connection = std::make_shared<diag_connection>(
      io_, *server_, number, std::move(stream), [this, number](std::string_view reason) {
        connections_.erase(number);
        server_->trace.diag_note(number, fmt::format("leaves: {}", reason));
      });
  connections_.emplace(number, connection);
  connection->start();
}

void diag_port::wait_at_terminal() {
  terminal_.async_wait(peer_stream::wait_read, [this](const std::error_code& cancelled) {
    if (cancelled) return;
    add(std::move(terminal_));
    next_terminal();
  });
}

void diag_port::next_terminal() {
  try {
    host::file_descriptor fresh = open_pseudo_terminal();
    link_->lead_to(terminal_of(fresh.get()));
    terminal_.assign(fresh.release());
  } catch (const failure&) {
    // Without free descriptors, the only remedy is to wait until a client leaves.
    terminal_again_.expires_after(terminal_retry);
    terminal_again_.async_wait([this](const std::error_code& cancelled) {
      if (!cancelled) next_terminal();
    });
    return;
  }
  wait_at_terminal();
}

}  // namespace sim
