#include "platform/linux/qmi/transport.h"

#include <cstdlib>

#include "host/directories.h"
#include "host/endpoint.h"
#include "platform/linux/report.h"

namespace qmi {

std::string endpoint_name() {
  const char* name = std::getenv("TVK_MODEM");
  if (name != nullptr && *name != '\0') return name;
  return have_qrtr() ? "qrtr" : "unix:" + host::runtime_directory() + "/modem.sock";
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
