#include "simulator/ports/qmux_port.h"

#include <fmt/core.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "host/unix_address.h"
#include "protocol/modem_socket.h"
#include "protocol/qmi_message.h"
#include "simulator/failure.h"
#include "simulator/ports/qmux_control.h"

namespace sim {

namespace qmux = protocol::qmux;

host::file_descriptor bind_proxy_socket() {
  constexpr std::string_view name = "qmi-proxy";
  const auto address = host::unix_address::of_abstract_name(name);
  host::file_descriptor bound(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!bound.valid() || ::bind(bound.get(), address.get(), address.size()) != 0) {
    throw failure(
        fmt::format("cannot bind the abstract socket {}: {}", name,
                    errno == EADDRINUSE ? "another program listens on it" : std::strerror(errno)));
  }
  return bound;
}

class qmux_port::client_connection : public connection {
 public:
  /// The terminal, if it is one, must outlive the connection.
  client_connection(qmux_port& owner, connection_number number, peer_stream stream,
                    shared_terminal* terminal, left_handler left)
      : connection(std::move(stream), boundaries::none, most_received, usual_most_waiting,
                   std::move(left)),
        owner_(owner),
        number_(number),
        terminal_(terminal) {}

  using connection::send;

  /// What came of a frame and what was not read belong to a client that has gone.
  void forget_client() {
    frames_ = {};
    terminal_->discard_unread();
  }

 private:
  static constexpr std::size_t most_received = 16384;

  void received(protocol::byte_view bytes) override {
    if (terminal_ != nullptr) terminal_->note_closings();
    frames_.add(bytes);
    while (!is_closed()) {
      const auto frame = frames_.next();
      if (!frame) break;
      owner_.receive(number_, *frame);
    }
    if (frames_.broken()) {
      constexpr std::string_view reason = "it sent something that is not a QMUX frame";
      if (terminal_ == nullptr) return close(reason);
      owner_.ignore(number_, reason);
      frames_ = {};
    }
    if (!is_closed()) receive();
  }

  qmux_port& owner_;
  const connection_number number_;
  shared_terminal* const terminal_;
  qmux::frame_cutter frames_;
};

qmux_port::qmux_port(asio::io_context& io, const node& node, dispatcher& dispatcher, trace& trace)
    : io_(io), node_(node), dispatcher_(dispatcher), trace_(trace) {}

qmux_port::~qmux_port() = default;

void qmux_port::listen(host::file_descriptor bound) {
  listener_.emplace(io_, std::move(bound));
  listener_->start([this](peer_stream socket) { add(std::move(socket)); });
}

void qmux_port::open_terminal(const std::string& path) {
  const connection_number number = next_connection_;
  terminal_.emplace(io_, path, [this, number] {
    trace_.note(fmt::format("QMUX connection {}: a client has closed the terminal", number));
    connections_.at(number)->forget_client();
  });
  add(peer_stream(io_, terminal_->take_ours().release()));
}

void qmux_port::add(peer_stream stream) {
  const connection_number number = next_connection_++;
  const auto connection = std::make_shared<client_connection>(
      *this, number, std::move(stream), terminal_ ? &*terminal_ : nullptr,
      [this, number](std::string_view reason) {
        connections_.erase(number);
        trace_.note(fmt::format("QMUX connection {} ends: {}", number, reason));
      });
  connections_.emplace(number, connection);
  trace_.note(fmt::format("QMUX connection {} opens", number));
  connection->start();
}

void qmux_port::send(protocol::qrtr::address to, protocol::qrtr::address /*from*/,
                     protocol::byte_view datagram) {
  const qmux_client* const known = clients_.find(to.port);
  if (known == nullptr) return;
  write(known->connection, {static_cast<std::uint8_t>(known->service->id), known->id, datagram});
}

void qmux_port::receive(connection_number from, const qmux::frame& frame) {
  if (frame.service == qmux::control_service) return control(from, frame.message);
  const auto client_port = clients_.port_of(frame.service, frame.client);
  if (!client_port) return refuse(from, frame);
  clients_.used_by(*client_port, from);
  dispatcher_.receive(client_at(*client_port),
                      node_.address_of(*clients_.find(*client_port)->service), frame.message);
}

void qmux_port::refuse(connection_number from, const qmux::frame& frame) {
  namespace qmi = protocol::qmi;
  ignore(from,
         fmt::format("there is no client {} of service 0x{:02x}", frame.client, frame.service));
  const auto asked = qmi::parse_message(frame.message);
  if (!asked || asked->head.kind != qmi::message_kind::request) return;
  qmi::tlv_writer tlvs;
  tlvs.standard_response(qmi::error::invalid_client_id);
  const auto answer = qmi::build_message(qmi::message_kind::response, asked->head.transaction,
                                         asked->head.message_id, tlvs.view());
  write(from, {frame.service, frame.client, answer});
}

void qmux_port::control(connection_number from, protocol::byte_view message) {
  const auto asked = qmux::parse_control(message);
  if (!asked || asked->kind != qmux::control_kind::request) {
    return ignore(from, "it sent no CTL request");
  }
  const char* const name = control_message_name(asked->id);
  trace_.note(fmt::format("QMUX connection {} -> CTL message 0x{:04x} {}, transaction {}", from,
                          static_cast<unsigned>(asked->id), name == nullptr ? "?" : name,
                          asked->transaction));
  const auto tlvs = answer_control(*this, from, *asked);
  const auto answer =
      qmux::build_control({qmux::control_kind::response, asked->transaction, asked->id, tlvs});
  write(from, {qmux::control_service, 0, answer});
}

void qmux_port::write(connection_number to, const qmux::frame& frame) {
  const auto found = connections_.find(to);
  if (found == connections_.end()) return;
  if (frame.message.size() > qmux::longest_message) {
    return trace_.note(
        fmt::format("dropped, {} bytes are too long for QMUX", frame.message.size()));
  }
  found->second->send(qmux::build_frame(qmux::sender::modem, frame));
}

void qmux_port::ignore(connection_number from, std::string_view reason) {
  trace_.note(fmt::format("QMUX connection {}, ignored: {}", from, reason));
}

const service_row* qmux_port::find_service(std::uint8_t id) const {
  const auto found = std::ranges::find(node_.services(), id, &service_row::id);
  return found != node_.services().end() && node_.is_up(*found) ? &*found : nullptr;
}

std::optional<std::uint8_t> qmux_port::allocate(connection_number connection,
                                                const service_row& service) {
  const auto client_port = clients_.add(connection, service);
  if (!client_port) return std::nullopt;
  trace_.client_connects(client_at(*client_port));
  return clients_.find(*client_port)->id;
}

bool qmux_port::release(std::uint8_t service, std::uint8_t id) {
  const auto client_port = clients_.port_of(service, id);
  if (client_port) release(*client_port);
  return client_port.has_value();
}

void qmux_port::release_all() {
  for (const std::uint32_t client_port : clients_.ports()) release(client_port);
}

void qmux_port::release(std::uint32_t client_port) {
  const client gone = client_at(client_port);
  clients_.remove(client_port);
  trace_.client_leaves(gone, "released");
  dispatcher_.client_gone(gone);
}

client qmux_port::client_at(std::uint32_t client_port) {
  return {this, {protocol::modem_socket::local_node, client_port}};
}

}  // namespace sim
