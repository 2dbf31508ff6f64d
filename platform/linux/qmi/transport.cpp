#include "platform/linux/qmi/transport.h"

#include "host/endpoint.h"
#include "host/environment.h"
#include "platform/linux/report.h"
#include "protocol/modem_socket.h"

namespace qmi {

namespace wire = protocol::modem_socket;

std::string endpoint_name() {
  if (host::environment(wire::endpoint_variable).empty() && have_qrtr()) return "qrtr";
  return host::chosen_endpoint(wire::endpoint_variable, wire::socket_name);
}

opened open_transport() {
  const std::string name = endpoint_name();
  const auto [scheme, rest] = host::split_endpoint(name);
  if (name == "qrtr") return open_qrtr();
  if (scheme == "unix" && !rest.empty()) return open_modem_socket(std::string(rest));
  platform::report_once(std::string(wire::endpoint_variable) + "=" + name + ": " +
                        (scheme == "unix" ? "PATH is missing; " : "no such kind of endpoint; ") +
                        "expected \"qrtr\" or \"unix:PATH\"");
  return {};
}

}  // namespace qmi
