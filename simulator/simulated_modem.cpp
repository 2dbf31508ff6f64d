#include "simulator/simulated_modem.h"

#include <sys/socket.h>

#include <cstdio>

#include "protocol/diag_port.h"
#include "simulator/diag/scenario.h"
#include "simulator/services/services.h"

namespace sim {

std::string diag_socket_beside(const std::string& modem_socket) {
  return modem_socket.substr(0, modem_socket.find_last_of('/') + 1) + protocol::diag::port_socket;
}

simulated_modem::simulated_modem(asio::io_context& io, const modem_options& options)
    : trace_(options.trace ? stderr : nullptr, all_services()),
      socket_(io, options.socket, trace_),
      diag_port_(io, options.diag),
      modem_(io, options.state),
      node_(all_services(), trace_),
      dispatcher_(io, modem_, node_, faults(options.faults), options.restart_time, trace_),
      diag_packets_(options.played ? options.played
                                   : std::make_shared<diag::scenario>(modem_.radio)),
      diag_{.state = modem_,
            .packets = *diag_packets_,
            .faults = diag::faults(options.diag_faults),
            .trace = trace_,
            .restart = [this] { dispatcher_.restart(); }} {
  if (options.qrtr) qrtr_.emplace(io, node_, dispatcher_, trace_);
  if (options.qrtr_node) {
    qrtr_node_.emplace(io, open_kernel_link(), *options.qrtr_node, node_, dispatcher_, trace_);
  }
  if (!options.at_device.empty()) at_.emplace(io, options.at_device, modem_, trace_);
  if (!options.qmux.empty()) {
    qmux_path_.emplace(options.qmux, SOCK_STREAM);
    qmux_.emplace(io, node_, dispatcher_, trace_).listen(qmux_path_->take_socket());
  }
  if (options.qmi_proxy) {
    proxy_.emplace(io, node_, dispatcher_, trace_).listen(bind_proxy_socket());
  }
  if (!options.qmux_terminal.empty()) {
    qmux_terminal_.emplace(io, node_, dispatcher_, trace_).open_terminal(options.qmux_terminal);
  }
  for (const chosen_setting& each : options.settings) each.row->set(modem_, each.value);
  modem_.store.count("boots");
  socket_.start(dispatcher_);
  diag_port_.start(diag_);
}

}  // namespace sim
