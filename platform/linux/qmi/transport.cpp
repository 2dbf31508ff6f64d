#include "platform/linux/qmi/transport.h"

#include "host/endpoint.h"
#include "host/environment.h"
#include "platform/linux/report.h"

namespace qmi {

std::string endpoint_name() {
  constexpr const char* variable = "TVK_MODEM";
  if (host::environment(variable).empty() && have_qrtr()) return "qrtr";
  return host::chosen_endpoint(variable, "modem.sock");
}

opened open_transport() {
  const std::string name = endpoint_name();
  const auto [scheme, rest] = host::split_endpoint(name);
  if (name == "qrtr") return open_qrtr();
  if (scheme == "unix" && !rest.empty()) return open_modem_socket(std::string(rest));
  platform::report_once("TVK_MODEM=" + name + ": " +
                        (scheme == "unix" ? "PATH is missing; " : "no such kind of endpoint; ") +
                        "expected \"qrtr\" or \"unix:PATH\"");
  return {};
}

}  // namespace qmi
