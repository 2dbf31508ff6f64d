#include "platform/linux/qmi/lookup.h"

#include <array>
#include <cstdio>

#include "platform/linux/qmi/port_loop.h"
#include "platform/linux/report.h"

namespace qmi {
namespace {

using protocol::qrtr::command;

/// How long a name service may take to complete its list. A real one answers at once, so a peer
/// that stays silent this long is something else.
constexpr std::chrono::seconds answer_limit{2};

}  // namespace

std::string service_name(std::uint32_t service) {
  std::array<char, 32> name{};
  std::snprintf(name.data(), name.size(), "QMI service 0x%02X", service);
  return name.data();
}

std::optional<server_event> parse_server_event(address from, byte_view datagram) {
  if (from.port != protocol::qrtr::control_port) return std::nullopt;
  const auto packet = protocol::qrtr::parse_control(datagram);
  if (!packet) return std::nullopt;
  switch (packet->cmd) {
    case command::new_server:
      return server_event{true, packet->about};
    case command::del_server:
    case command::del_client:
      return server_event{false, packet->about};
    default:
      break;
  }
  return std::nullopt;
}

found find_servers(std::uint32_t service) {
  if (!endpoint_reaches(service)) {
    platform::report_once("TVK_MODEM=" + endpoint_name() + ": no way to " + service_name(service) +
                          ", because QMUX numbers services with 8 bits");
    return {};
  }
  auto [result, port] = open_transport();
  if (result != open_result::open) return {result, nullptr, {}};

  const auto request =
      protocol::qrtr::build_control({command::new_lookup, {service, 0, address{}}});
  const auto deadline = clock::now() + answer_limit;
  if (send_by(*port, port->name_service(), request, deadline) != io_result::done) {
    return {open_result::absent, nullptr, {}};
  }
  std::vector<server> servers;
  const auto collect = [&](address from, byte_view datagram) {
    const auto event = parse_server_event(from, datagram);
    if (event && event->is_end_of_list()) return false;
    if (event && event->is_up) servers.push_back(event->which);
    if (event) {
      std::erase_if(servers, [&](const server& known) { return event->ends(service, known.at); });
    }
    return true;
  };
  std::array<std::uint8_t, protocol::qrtr::control_packet_size> buffer{};
  switch (receive_loop(*port, stop_flag(), buffer, collect, deadline)) {
    case loop_end::finished:
      return {open_result::open, std::move(port), std::move(servers)};
    case loop_end::gone:
      return {open_result::absent, nullptr, {}};
    case loop_end::deadline:
    case loop_end::stopped:
      break;
  }
  platform::report_once("TVK_MODEM=" + endpoint_name() +
                        ": the program listening there does not answer service lookups; expected "
                        "a modem");
  return {};
}

}  // namespace qmi
