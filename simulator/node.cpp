#include "simulator/node.h"

#include <fmt/core.h>

#include <algorithm>

namespace sim {
namespace {

using protocol::qrtr::command;
using protocol::qrtr::control_packet;

constexpr std::uint32_t first_port = 1;
constexpr std::uint32_t instance = 1;

// As many as a kernel's node keeps for all its clients together; bounds what one client can use.
constexpr std::ptrdiff_t max_lookups_of_a_client = 128;

}  // namespace

node::node(std::span<const service_row> services, trace& trace)
    : services_(services), trace_(trace) {
  std::uint32_t port = first_port;
  for (const service_row& row : services) {
    entries_.push_back({&row,
                        {.service = row.id,
                         .instance_word = (instance << 8) | row.version,
                         .at = {protocol::modem_socket::modem_node, port++}}});
  }
}

void node::attach(port& port) {
  ports_.push_back(&port);
  for (const entry& each : entries_) {
    if (each.up) port.announce(command::new_server, each.server);
  }
}

void node::control(const client& from, protocol::byte_view datagram) {
  const auto packet = protocol::qrtr::parse_control(datagram);
  if (!packet) return trace_.bad_control(from, datagram);
  trace_.control(trace::direction::to_modem, from, *packet);
  const lookup asked{
      from,
      {.service = packet->about.service, .instance_word = packet->about.instance_word, .at = {}}};
  if (packet->cmd == command::new_lookup) add_lookup(asked);
  if (packet->cmd == command::del_lookup) remove_lookup(asked);
}

void node::add_lookup(const lookup& added) {
  if (std::ranges::count(lookups_, added.from, &lookup::from) >= max_lookups_of_a_client) {
    return trace_.note("ignored, the client has too many lookups");
  }
  lookups_.push_back(added);
  for (const entry& each : entries_) {
    if (each.up && protocol::qrtr::lookup_matches(added.asked, each.server)) {
      send(added.from, {command::new_server, each.server});
    }
  }
  send(added.from, {command::new_server, {}});
}

void node::remove_lookup(const lookup& removed) {
  std::erase_if(lookups_, [&](const lookup& each) {
    return each.from == removed.from && each.asked == removed.asked;
  });
}

void node::client_gone(const client& gone) {
  std::erase_if(lookups_, [&](const lookup& each) { return each.from == gone; });
}

void node::turn(const service_row& service, bool up) {
  entry& found = *std::ranges::find(entries_, &service, &entry::service);
  if (found.up == up) return;
  found.up = up;
  trace_.note(fmt::format("{} is {}", service.name, up ? "up" : "down"));
  const command change = up ? command::new_server : command::del_server;
  for (port* const each : ports_) each->announce(change, found.server);
  for (const lookup& each : lookups_) {
    if (protocol::qrtr::lookup_matches(each.asked, found.server)) {
      send(each.from, {change, found.server});
    }
  }
}

const service_row* node::service_at(protocol::qrtr::address at) const {
  for (const entry& each : entries_) {
    if (each.up && each.server.at == at) return each.service;
  }
  return nullptr;
}

void node::send(const client& to, const control_packet& packet) {
  trace_.control(trace::direction::from_modem, to, packet);
  to.send(control_address, protocol::qrtr::build_control(packet));
}

const node::entry& node::entry_of(const service_row& service) const {
  return *std::ranges::find(entries_, &service, &entry::service);
}

}  // namespace sim
