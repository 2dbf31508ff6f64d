#include "simulator/ports/qmux_connection.h"

#include <utility>

#include "simulator/ports/qmux_port.h"

namespace sim {
namespace {

constexpr std::size_t most_received = 16384;

}  // namespace

qmux_connection::qmux_connection(qmux_port& owner, connection_number number, peer_stream socket)
    : connection(std::move(socket), boundaries::none, most_received, usual_most_waiting),
      owner_(owner),
      number_(number) {}

qmux_connection::qmux_connection(qmux_port& owner, connection_number number, peer_stream ours,
                                 shared_terminal& terminal)
    : connection(std::move(ours), boundaries::none, most_received, usual_most_waiting),
      owner_(owner),
      number_(number),
      terminal_(&terminal) {}

void qmux_connection::forget_client() {
  frames_ = {};
  if (terminal_ != nullptr) terminal_->discard_unread();
}

void qmux_connection::received(protocol::byte_view bytes) {
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

void qmux_connection::left(std::string_view reason) {
  owner_.remove(number_, reason);
}

}  // namespace sim
