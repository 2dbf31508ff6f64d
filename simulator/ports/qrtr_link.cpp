#include "simulator/ports/qrtr_link.h"

#include <fcntl.h>
#include <fmt/core.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include <asio/buffer.hpp>

#include "protocol/modem_socket.h"
#include "simulator/failure.h"
#include "simulator/standard_error.h"

namespace sim {

using protocol::qrtr::address;
using protocol::qrtr::command;
using protocol::qrtr::control_port;
using protocol::qrtr::link_packet;

namespace {

// As the kernel has them: the packet that asks for confirmation, and the last before it came.
constexpr unsigned confirmed_packet = 5;
constexpr unsigned most_unconfirmed = 10;
constexpr std::size_t most_waiting = 1024;

}  // namespace

host::file_descriptor open_kernel_link() {
  constexpr const char* device = "/dev/qrtr-tun";
  host::file_descriptor link(::open(device, O_RDWR | O_CLOEXEC | O_NONBLOCK));
  if (!link.valid()) {
    throw failure(fmt::format("cannot open {}, which the kernel's module qrtr-tun provides: {}",
                              device, std::strerror(errno)));
  }
  return link;
}

qrtr_link::qrtr_link(asio::io_context& io, host::file_descriptor link, std::uint32_t number,
                     node& node, dispatcher& dispatcher, trace& trace)
    : link_(io, link.release()), number_(number), clients_(*this, dispatcher, trace) {
  // Nobody hears of the services of a node that has not said hello.
  const auto hello = protocol::qrtr::build_control({command::hello, {}});
  write({command::hello, {number_, control_port}, control_address, hello});
  node.attach(*this);
  receive();
}

void qrtr_link::send(address to, address from, protocol::byte_view datagram) {
  flow& way = flows_[to];
  if (way.unconfirmed == most_unconfirmed) {
    if (way.waiting.size() < most_waiting) {
      way.waiting.emplace_back(from, std::vector(datagram.begin(), datagram.end()));
    }
    return;
  }
  ++way.unconfirmed;
  write({.from = {number_, from.port},
         .to = to,
         .payload = datagram,
         .confirm_rx = way.unconfirmed == confirmed_packet});
}

void qrtr_link::resume(address to) {
  const auto found = flows_.find(to);
  if (found == flows_.end()) return;
  found->second.unconfirmed = 0;
  for (const auto& [from, datagram] : std::exchange(found->second.waiting, {})) {
    send(to, from, datagram);
  }
}

void qrtr_link::announce(command change, const protocol::qrtr::server& server) {
  protocol::qrtr::server ours = server;
  ours.at.node = number_;
  const auto payload = protocol::qrtr::build_control({change, ours});
  write({change, {number_, control_port}, control_address, payload});
}

void qrtr_link::write(const link_packet& packet) {
  const auto bytes = protocol::qrtr::build_link_packet(packet);
  // The kernel refuses what is for a port that has just been closed, and never waits.
  std::error_code refusal;
  link_.write_some(asio::buffer(bytes), refusal);
}

void qrtr_link::receive() {
  link_.async_read_some(asio::buffer(buffer_), [this](const std::error_code& error,
                                                      std::size_t size) {
    if (error == asio::error::operation_aborted) return;
    if (error) {
      return tell_user(fmt::format("QRTR node {} has lost its link: {}", number_, error.message()));
    }
    const auto packet = protocol::qrtr::parse_link_packet(protocol::byte_view(buffer_).first(size));
    if (packet) received(*packet);
    receive();
  });
}

void qrtr_link::received(const link_packet& packet) {
  switch (packet.type) {
    case command::data: {
      if (packet.confirm_rx) {
        const address here{number_, packet.to.port};
        const auto payload = protocol::qrtr::build_control({command::resume_tx, {.at = here}});
        write({command::resume_tx, here, packet.from, payload});
      }
      const address service{protocol::modem_socket::modem_node, packet.to.port};
      return clients_.receive_data(packet.from, service, packet.payload);
    }
    case command::resume_tx:
      return resume(packet.from);
    case command::del_client:
      clients_.receive_control(packet.payload);
      flows_.erase(packet.from);
      return;
    default:
      // The kernel greets, and tells of services that are not the modem's.
      return;
  }
}

}  // namespace sim
