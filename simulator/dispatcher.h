// What ports receive passes through here: control packets go to the node, requests to the row of
// their message, and answers, as faults leave them, back to the client.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <asio/io_context.hpp>

#include "protocol/qmi_message.h"
#include "simulator/clock.h"
#include "simulator/faults/delayed_answers.h"
#include "simulator/faults/faults.h"
#include "simulator/modem/modem.h"
#include "simulator/node.h"
#include "simulator/trace.h"

namespace sim {

class dispatcher {
 public:
  /// Applies the faults that strike at the start.
  dispatcher(asio::io_context& io, modem& state, node& node, faults faults,
             std::chrono::milliseconds restart_time, trace& trace);

  /// A datagram that a client sent to `to`.
  void receive(const client& from, protocol::qrtr::address to, protocol::byte_view datagram);

  /// Every service goes down, with all that is unfinished, and comes back; those that are down for
  /// good stay down.
  void restart();

  /// The client's port has closed: nothing more can be sent to it.
  void client_gone(const client& gone);

 private:
  /// Indications that it asked for, its data call, an unfinished load.
  void forget_wishes(const client& of);
  void serve(const client& from, const service_row& service, const protocol::qmi::message& message);
  [[nodiscard]] reply answer_request(const client& from, const service_row& service,
                                     const protocol::qmi::message& message,
                                     const fault_rule* fault);
  void refuse_malformed(const client& from, const service_row& service,
                        protocol::byte_view datagram);
  /// Leaves the answer in `datagram_`.
  void compose(std::uint16_t transaction, std::uint16_t message_id, protocol::byte_view tlvs);
  /// A delay of 0 sends at once.
  void send(const client& to, const service_row& from, protocol::byte_view datagram,
            std::chrono::milliseconds delay, const std::string& meaning);
  void indicate(const indication& what, const service_row& from, std::chrono::milliseconds delay);
  void deliver(const client& to, const service_row& from, protocol::byte_view datagram,
               std::string_view meaning = {});
  void take_down(const fault_rule& fault);
  void come_back(const service_row& service, std::chrono::milliseconds time);

  asio::io_context& io_;
  modem& modem_;
  node& node_;
  faults faults_;
  std::chrono::milliseconds restart_time_;
  trace& trace_;
  delayed_answers delayed_;
  std::map<const service_row*, timer> returning_;  ///< services that are down for a time

  // The answer being made; kept for its memory.
  std::vector<std::uint8_t> datagram_;
};

}  // namespace sim
