// A whole modem: its state, its services, and the ports through which they are reached.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <asio/io_context.hpp>

#include "simulator/diag/faults.h"
#include "simulator/diag/play.h"
#include "simulator/dispatcher.h"
#include "simulator/faults/faults.h"
#include "simulator/modem/modem.h"
#include "simulator/modem/settable.h"
#include "simulator/node.h"
#include "simulator/ports/at_port.h"
#include "simulator/ports/diag_port.h"
#include "simulator/ports/modem_socket.h"
#include "simulator/ports/qmux_port.h"
#include "simulator/ports/qrtr.h"
#include "simulator/ports/qrtr_link.h"
#include "simulator/ports/socket_path.h"
#include "simulator/trace.h"

namespace sim {

struct modem_options {
  std::string socket;
  std::string state;
  bool qrtr = false;
  std::optional<std::uint32_t> qrtr_node;
  bool trace = false;
  std::vector<fault_rule> faults;
  std::vector<chosen_setting> settings;
  std::chrono::milliseconds restart_time{2000};
  std::string at_device;  ///< empty: none
  std::string qmux;       ///< empty: none
  bool qmi_proxy = false;
  std::string qmux_terminal;  ///< empty: none
  diag_ways diag;
  std::vector<diag::fault_rule> diag_faults;
  std::shared_ptr<const diag::source> played;  ///< over DIAG; null: what the radio sees
};

/// Where clients look for DIAG by default.
[[nodiscard]] std::string diag_socket_beside(const std::string& modem_socket);

class simulated_modem {
 public:
  /// Accepts connections when it returns; serves them as `io` runs. Throws `failure`.
  simulated_modem(asio::io_context& io, const modem_options& options);

  [[nodiscard]] std::uint16_t diag_tcp_port() const { return diag_port_.tcp_port(); }

 private:
  // The sockets come first: a second modem on the same paths must not touch the state.
  trace trace_;
  modem_socket_port socket_;
  diag_port diag_port_;
  modem modem_;
  node node_;
  dispatcher dispatcher_;
  std::optional<qrtr_port> qrtr_;
  std::optional<qrtr_link> qrtr_node_;
  std::optional<at_port> at_;
  std::shared_ptr<const diag::source> diag_packets_;
  diag_server diag_;
  std::optional<socket_path> qmux_path_;
  std::optional<qmux_port> qmux_;
  std::optional<qmux_port> proxy_;
  std::optional<qmux_port> qmux_terminal_;
};

}  // namespace sim
