#include "platform/linux/qmi/transport.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string_view>

#include "host/endpoint.h"
#include "host/environment.h"
#include "platform/linux/report.h"
#include "protocol/modem_socket.h"

namespace qmi {
namespace {

struct endpoint_kind {
  std::string_view scheme;
  opened (*open)(const std::string& rest);
  std::uint32_t last_service;
  std::string_view rest;
};
constexpr std::uint32_t any_service = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t last_of_qmux = 0xFF;
constexpr endpoint_kind kinds[] = {
    {"unix", open_modem_socket, any_service, "PATH"},
    {"qmux", open_qmux, last_of_qmux, "DEVICE"},
    {"qmi-proxy", open_qmi_proxy, last_of_qmux, "DEVICE"},
};

/// Null for `qrtr` and for no kind of endpoint.
const endpoint_kind* find_kind(std::string_view endpoint) {
  const auto* const found =
      std::ranges::find(kinds, host::split_endpoint(endpoint).scheme, &endpoint_kind::scheme);
  return found == std::end(kinds) ? nullptr : found;
}

}  // namespace

namespace wire = protocol::modem_socket;

std::string endpoint_name() {
  if (host::environment(wire::endpoint_variable).empty() && have_qrtr()) return "qrtr";
  return host::chosen_endpoint(wire::endpoint_variable, wire::socket_name);
}

bool endpoint_reaches(std::uint32_t service) {
  const auto* const kind = find_kind(endpoint_name());
  return kind == nullptr || service <= kind->last_service;
}

opened open_transport() {
  const std::string name = endpoint_name();
  if (name == "qrtr") return open_qrtr();
  const auto* const kind = find_kind(name);
  const auto rest = host::split_endpoint(name).rest;
  if (kind != nullptr && !rest.empty()) return kind->open(std::string(rest));
  platform::report_once(
      std::string(wire::endpoint_variable) + "=" + name + ": " +
      (kind == nullptr ? "no such kind of endpoint" : std::string(kind->rest) + " is missing") +
      "; expected \"qrtr\", \"unix:PATH\", \"qmux:DEVICE\" or "
      "\"qmi-proxy:DEVICE\"");
  return {};
}

}  // namespace qmi
