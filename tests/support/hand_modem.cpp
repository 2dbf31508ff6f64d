#include "support/hand_modem.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/sockets.h"

namespace support {
namespace {

constexpr std::uint32_t own_node_of_client = 1;
constexpr std::uint32_t control_port = 0xFFFFFFFE;
constexpr std::uint32_t new_server = 4;
constexpr std::uint32_t del_server = 5;
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
  bytes out = {0x02, request.at(1), request.at(2), request.at(3), request.at(4)};
  out.push_back(static_cast<std::uint8_t>(tlvs.size()));
  out.push_back(static_cast<std::uint8_t>(tlvs.size() >> 8));
  return out + tlvs;
}

std::vector<datagram> reply(const datagram& request, const bytes& tlvs) {
  return {{request.node, request.port, qmi_response(request.data, tlvs)}};
}

hand_modem::hand_modem(std::vector<qmi_server> servers) : servers_(std::move(servers)) {
  listener_ = listening_at(dir_.file("modem.sock"), SOCK_SEQPACKET);
  wake_ = eventfd(0, EFD_CLOEXEC);
  thread_ = std::thread([this] { run(); });
}

hand_modem::~hand_modem() {
  stop_ = true;
  wake();
  thread_.join();
  for (const auto& each : connections_) close(each.socket);
  close(listener_);
  close(wake_);
}

void hand_modem::on_request(handler answer) {
  const std::lock_guard lock(mutex_);
  handler_ = std::move(answer);
}

void hand_modem::answer_with_tlvs(const bytes& tlvs) {
  on_request([tlvs](const datagram& request) { return reply(request, tlvs); });
}

void hand_modem::publish(const qmi_server& server) {
  const std::lock_guard lock(mutex_);
  servers_.push_back(server);
  announce(new_server, server);
}

void hand_modem::withdraw(const qmi_server& server) {
  const std::lock_guard lock(mutex_);
  std::erase(servers_, server);
  announce(del_server, server);
}

void hand_modem::flap(const qmi_server& server) {
  const std::lock_guard lock(mutex_);
  announce(new_server, server);
  announce(del_server, server);
}

void hand_modem::send(const datagram& message) {
  const std::lock_guard lock(mutex_);
  for (const auto& each : connections_) {
    if (each.talks_to_server) send_packet(each.socket, message);
  }
}

void hand_modem::close_connections() {
  const std::lock_guard lock(mutex_);
  for (auto& each : connections_) each.closing = true;
  wake();
}

std::vector<datagram> hand_modem::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void hand_modem::forget_requests() {
  const std::lock_guard lock(mutex_);
  requests_.clear();
}

void hand_modem::wake() const {
  const std::uint64_t one = 1;
  (void)!write(wake_, &one, sizeof(one));
}

void hand_modem::run() {
  while (!stop_) {
    std::vector<pollfd> waiting = {{listener_, POLLIN, 0}, {wake_, POLLIN, 0}};
    {
      const std::lock_guard lock(mutex_);
      std::erase_if(connections_, [](const connection& each) {
        if (each.closing) close(each.socket);
        return each.closing;
      });
      for (const auto& each : connections_) waiting.push_back({each.socket, POLLIN, 0});
    }
    poll(waiting.data(), waiting.size(), -1);
    for (std::size_t i = 2; i < waiting.size(); ++i) {
      if (waiting[i].revents != 0) receive(i - 2);
    }
    if (waiting[1].revents != 0) {
      std::uint64_t count = 0;
      (void)!read(wake_, &count, sizeof(count));
    }
    if (waiting[0].revents != 0) {
      const std::lock_guard lock(mutex_);
      connections_.push_back(
          {accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC), {}, false, false});
    }
  }
}

void hand_modem::receive(std::size_t index) {
  handler answer;
  datagram request;
  int socket = -1;
  {
    const std::lock_guard lock(mutex_);
    auto& from = connections_[index];
    socket = from.socket;
    const ssize_t count = recv(socket, buffer_.data(), buffer_.size(), 0);
    if (count < 8) {
      from.closing = true;
      return;
    }
    const bytes packet(buffer_.begin(), buffer_.begin() + count);
    if (u32_at(packet, 4) == control_port) return control(from, packet);
    from.talks_to_server = true;
    request = {u32_at(packet, 0), u32_at(packet, 4), slice(packet, 8)};
    requests_.push_back(request);
    answer = handler_;
  }
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
