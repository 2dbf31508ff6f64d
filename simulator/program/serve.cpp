// tvk-modem serve: a modem that runs until a signal ends it.
#include <fmt/core.h>

#include <optional>

#include <asio/io_context.hpp>

#include "simulator/program/commands.h"
#include "simulator/program/held_time.h"
#include "simulator/program/signals.h"
#include "simulator/standard_error.h"

namespace sim {

int run(const serve_command& asked) {
  asio::io_context io(1);
  const signals stop(io, {SIGINT, SIGTERM, SIGHUP}, [&io](const auto& /*which*/) { io.stop(); });
  std::optional<held_time> held;
  if (asked.holds_time) held.emplace(io);
  const simulated_modem modem(io, asked.modem);
  const std::string tcp =
      asked.modem.diag.tcp ? fmt::format(", tcp:127.0.0.1:{}", modem.diag_tcp_port()) : "";
  const std::string& terminal = asked.modem.diag.terminal;
  tell_user(fmt::format("DIAG on unix:{}{}{}{}", asked.modem.diag.socket, tcp,
                        terminal.empty() ? "" : ", tty:", terminal));
  const auto& number = asked.modem.qrtr_node;
  tell_user(fmt::format("listening on unix:{}{}{}", asked.modem.socket,
                        asked.modem.qrtr ? " and AF_QIPCRTR" : "",
                        number ? fmt::format(" and as QRTR node {}", *number) : ""));
  io.run();
  return 0;
}

int run(nothing_to_do /*asked*/) {
  return 0;
}

}  // namespace sim
