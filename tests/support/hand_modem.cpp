#include "support/hand_modem.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/sockets.h"

namespace support {
namespace {

constexpr std::uint32_t own_node_of_client = 1;
constexpr std::uint32_t control_port = 0xFFFFFFFE;
constexpr std::uint32_t new_lookup = 10;
constexpr std::size_t control_size = 20;

void send_packet(int socket, const datagram& message) {
  const bytes packet = u32(message.node) + u32(message.port) + message.data;
  // The far end may just have left; then nothing is lost.
  (void)::send(socket, packet.data(), packet.size(), MSG_NOSIGNAL);
}

datagram server_packet(std::uint32_t command, const qmi_server& server) {
  return {own_node_of_client, control_port,
          u32(command) + u32(server.service) + u32(server.instance_word) + u32(server.node) +
              u32(server.port)};
}

}  // namespace

bytes qmi_response(const bytes& request, const bytes& tlvs) {
  return hex("02") + slice(request, 1, 5) + u16(tlvs.size()) + tlvs;
}

std::vector<datagram> reply(const datagram& request, const bytes& tlvs) {
  return {{request.node, request.port, qmi_response(request.data, tlvs)}};
}

hand_modem::hand_modem(std::vector<qmi_server> servers) : servers_(std::move(servers)) {
  listener_ = listening_at(dir_.file("modem.sock"), SOCK_SEQPACKET);
  thread_ = std::thread([this] { run(); });
}

hand_modem::~hand_modem() {
  stop_ = true;
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  for (const auto& each : connections_) close(each.socket);
  close(listener_);
}

void hand_modem::send(const datagram& message) {
  const std::lock_guard lock(mutex_);
  for (const auto& each : connections_) {
    if (each.talks_to_server) send_packet(each.socket, message);
  }
}

void hand_modem::close_connections() {
  const std::lock_guard lock(mutex_);
  for (const auto& each : connections_) shutdown(each.socket, SHUT_RDWR);
}

void hand_modem::run() {
  while (!stop_) {
    std::vector<pollfd> waiting = {{listener_, POLLIN, 0}};
    for (const auto& each : connections_) waiting.push_back({each.socket, POLLIN, 0});
    poll(waiting.data(), waiting.size(), -1);
    // From the last one: a connection that ends leaves those before it in their places.
    for (std::size_t i = waiting.size() - 1; i > 0; --i) {
      if (waiting[i].revents != 0)
        receive(connections_.begin() + static_cast<std::ptrdiff_t>(i - 1));
    }
    if (waiting[0].revents != 0 && !stop_) {
      const std::lock_guard lock(mutex_);
      connections_.push_back({accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC), {}, false});
    }
  }
}

void hand_modem::receive(std::vector<connection>::iterator from) {
  std::unique_lock lock(mutex_);
  const int socket = from->socket;
  const ssize_t count = recv(socket, buffer_.data(), buffer_.size(), 0);
  if (count < 8) {
    close(socket);
    connections_.erase(from);
    return;
  }
  const bytes packet(buffer_.begin(), buffer_.begin() + count);
  if (u32_at(packet, 4) == control_port) return control(*from, packet);
  from->talks_to_server = true;
  const datagram request{u32_at(packet, 0), u32_at(packet, 4), slice(packet, 8)};
  requests_.push_back(request);
  const auto answer = handler_;
  lock.unlock();
  if (!answer) return;
  for (const auto& each : answer(request)) send_packet(socket, each);
}

// A packet that is not exactly a lookup to the client's own node is left without an answer.
void hand_modem::control(connection& from, const bytes& packet) {
  if (packet.size() != 8 + control_size || u32_at(packet, 0) != own_node_of_client) return;
  if (u32_at(packet, 8) != new_lookup) return;
  const auto service = u32_at(packet, 12);
  from.lookups.push_back(service);
  for (const auto& each : servers_) {
    if (each.service == service) send_packet(from.socket, server_packet(new_server, each));
  }
  send_packet(from.socket, server_packet(new_server, {0, 0, 0, 0}));
}

void hand_modem::announce(std::uint32_t command, const qmi_server& server) {
  for (const auto& each : connections_) {
    for (const auto service : each.lookups) {
      if (service == server.service) send_packet(each.socket, server_packet(command, server));
    }
  }
}

}  // namespace support
