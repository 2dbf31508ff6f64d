// The ways to the modem's DIAG side: a Unix socket always, TCP of this host and a terminal on
// request.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <asio/generic/stream_protocol.hpp>
#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include "simulator/diag/server.h"
#include "simulator/ports/diag_connection.h"
#include "simulator/ports/listener.h"
#include "simulator/ports/socket_path.h"
#include "simulator/ports/terminal_link.h"

namespace sim {

struct diag_ways {
  std::string socket;                ///< a Unix socket's path
  std::optional<std::uint16_t> tcp;  ///< a port of 127.0.0.1, 0 for one that is free
  std::string terminal;              ///< a link to a pseudo-terminal; empty: none
};

class diag_port {
 public:
  /// Binds; throws `failure`.
  diag_port(asio::io_context& io, const diag_ways& ways);
  ~diag_port();

  /// Accepts clients from here on.
  void start(diag::server& server);

  /// 0 when there is none.
  [[nodiscard]] std::uint16_t tcp_port() const { return tcp_port_; }

 private:
  using protocol_type = asio::generic::stream_protocol;

  void add(peer_stream stream);
  /// A client has come to the terminal when it says something, or has gone again.
  void wait_at_terminal();
  /// Each client has a terminal of its own: nothing of one that leaves, neither what it did not
  /// read nor how it set its terminal, is there for the next.
  void next_terminal();

  asio::io_context& io_;
  socket_path path_;
  listener<protocol_type> unix_;
  std::optional<listener<protocol_type>> tcp_;
  std::uint16_t tcp_port_ = 0;
  peer_stream terminal_;  ///< our side of the one for the next client
  std::optional<terminal_link> link_;
  asio::steady_timer terminal_again_;
  diag::server* server_ = nullptr;
  std::map<unsigned, std::shared_ptr<diag_connection>> connections_;
  unsigned next_ = 1;
};

}  // namespace sim
