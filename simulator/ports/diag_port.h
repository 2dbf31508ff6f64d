// The ports of the modem's DIAG side: always a Unix socket; on request also local TCP and a
// terminal.
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

#include "simulator/ports/diag_connection.h"
#include "simulator/ports/listener.h"
#include "simulator/ports/socket_path.h"
#include "simulator/ports/terminals.h"

namespace sim {

struct diag_ways {
  std::string socket;                ///< a Unix socket's path
  std::optional<std::uint16_t> tcp;  ///< a port of 127.0.0.1; 0 picks a free one
  std::string terminal;              ///< a link to a pseudo-terminal; empty for none
};

class diag_port {
 public:
  /// Binds; throws `failure`.
  diag_port(asio::io_context& io, const diag_ways& ways);
  ~diag_port();

  /// Starts to accept clients.
  void start(diag_server& server);

  /// 0 when there is none.
  [[nodiscard]] std::uint16_t tcp_port() const { return tcp_port_; }

 private:
  using protocol_type = asio::generic::stream_protocol;

  void add(peer_stream stream);
  /// A client shows by its first bytes, or by its hang-up.
  void wait_at_terminal();
  /// Each client gets a new terminal, so that neither unread bytes nor terminal settings of one
  /// client reach the next.
  void next_terminal();

  asio::io_context& io_;
  socket_path path_;
  listener<protocol_type> unix_;
  std::optional<listener<protocol_type>> tcp_;
  std::uint16_t tcp_port_ = 0;
  peer_stream terminal_;  ///< our side of the one for the next client
  std::optional<terminal_link> link_;
  asio::steady_timer terminal_again_;
  diag_server* server_ = nullptr;
  std::map<unsigned, std::shared_ptr<diag_connection>> connections_;
  unsigned next_ = 1;
};

}  // namespace sim
