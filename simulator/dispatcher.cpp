#include "simulator/dispatcher.h"

#include <algorithm>
#include <utility>

#include "simulator/failure.h"
#include "simulator/standard_error.h"

namespace sim {

namespace qmi = protocol::qmi;
using protocol::byte_view;

namespace {

// What every standard service answers.
constexpr std::uint16_t reset_message = 0x0000;
constexpr std::uint16_t supported_message = 0x001E;

/// A bit for each message, message 0 in the lowest bit of the first byte.
reply list_messages(const service_row& service) {
  constexpr std::uint8_t list_tlv = 0x10;
  constexpr unsigned bits = 8;
  std::vector<std::uint8_t> mask;
  const auto add = [&mask](std::uint16_t message) {
    if (mask.size() <= message / bits) mask.resize(message / bits + 1U);
    mask[message / bits] = static_cast<std::uint8_t>(mask[message / bits] | 1U << message % bits);
  };
  add(reset_message);
  add(supported_message);
  for (const message_row& each : service.messages) {
    if (each.answer != nullptr) add(each.id);
  }
  std::vector<std::uint8_t> list;
  protocol::append_le(list, static_cast<std::uint16_t>(mask.size()));
  list.insert(list.end(), mask.begin(), mask.end());
  reply out = qmi::error::none;
  out.tlvs.bytes(list_tlv, list);
  return out;
}

}  // namespace

dispatcher::dispatcher(asio::io_context& io, modem& state, node& node, faults faults,
                       std::chrono::milliseconds restart_time, trace& trace)
    : io_(io),
      modem_(state),
      node_(node),
      faults_(std::move(faults)),
      restart_time_(restart_time),
      trace_(trace),
      delayed_(io, [this](const answer& due) {
        deliver(due.to, *due.from, due.datagram, due.meaning);
      }) {
  for (const fault_rule& rule : faults_.at_start()) {
    if (node_.is_up(*rule.service)) take_down(rule);
  }
}

void dispatcher::receive(const client& from, protocol::qrtr::address to, byte_view datagram) {
  if (to == control_address) {
    modem_.activity.count(event::control_packet);
    return node_.control(from, datagram);
  }
  const service_row* const service = node_.service_at(to);
  if (service == nullptr) return trace_.dropped(from, to, datagram.size());

  modem_.activity.count(event::datagram);
  trace_.message(trace::direction::to_modem, from, *service, datagram);
  const auto message = qmi::parse_message(datagram);
  if (!message || !qmi::well_formed(message->tlvs)) {
    return refuse_malformed(from, *service, datagram);
  }
  if (message->head.kind != qmi::message_kind::request) return;
  modem_.activity.count(event::request);
  serve(from, *service, *message);
}

void dispatcher::client_gone(const client& gone) {
  node_.client_gone(gone);
  delayed_.drop_client(gone);
  modem_.transfers.drop(gone);
  modem_.uicc.drop_client(gone);
  forget_wishes(gone);
}

void dispatcher::forget_wishes(const client& of) {
  modem_.pdc_clients.erase(of);
  modem_.watchers.drop(of);
  modem_.data.calls.erase(of);
}

void dispatcher::serve(const client& from, const service_row& service,
                       const qmi::message& message) {
  const fault_rule* const fault = faults_.strike(service, message.head.message_id);
  if (fault != nullptr) {
    trace_.fault(fault->text);
    if (fault->action == fault_action::silent) return;
    if (fault->action == fault_action::down) return take_down(*fault);
  }

  const reply made = answer_request(from, service, message, fault);
  compose(message.head.transaction, message.head.message_id, made.tlvs.view());
  if (fault != nullptr) alter_answer(*fault, datagram_);
  const std::string meaning = trace_.meaning_of_answer(service, message, datagram_);
  const bool is_late = fault != nullptr && fault->action == fault_action::delay;
  const std::chrono::milliseconds delay(is_late ? *fault->value : 0);
  send(from, service, datagram_, delay, meaning);
  for (const indication& each : made.indications) {
    const auto other = std::ranges::find(node_.services(), each.service, &service_row::id);
    indicate(each, other == node_.services().end() ? service : *other, delay);
  }
  if (made.restart) restart();
}

reply dispatcher::answer_request(const client& from, const service_row& service,
                                 const qmi::message& message, const fault_rule* fault) {
  reply made = qmi::error::invalid_qmi_command;
  if (fault != nullptr && fault->action == fault_action::error) {
    made = static_cast<qmi::error>(*fault->value);
  } else if (service.result_tlv == no_result_tlv && message.head.message_id == reset_message) {
    forget_wishes(from);
    made = qmi::error::none;
  } else if (service.result_tlv == no_result_tlv && message.head.message_id == supported_message) {
    made = list_messages(service);
  } else if (const message_row* const row = service.find(message.head.message_id);
             row != nullptr && row->answer != nullptr) {
    try {
      made = row->answer({from, message.tlvs, modem_});
    } catch (refused& early) {
      made = std::move(early.answer);
    } catch (const failure& state_failed) {
      // The state could not be written, so the request must not seem to have worked.
      tell_user(state_failed.what());
      made = qmi::error::internal;
    }
  }
  modem_.activity.count(made.result == qmi::error::none ? event::answered : event::refused);
  return made;
}

void dispatcher::refuse_malformed(const client& from, const service_row& service,
                                  byte_view datagram) {
  protocol::byte_reader in(datagram);
  const auto flags = in.take<std::uint8_t>();
  const auto transaction = in.take<std::uint16_t>();
  const auto message_id = in.take<std::uint16_t>();
  if (!transaction) return;
  // Two ends that answer each other's malformed answers would never stop.
  if (*flags == static_cast<std::uint8_t>(qmi::message_kind::response) ||
      *flags == static_cast<std::uint8_t>(qmi::message_kind::indication)) {
    return;
  }
  const reply refused = qmi::error::malformed_message;
  compose(*transaction, message_id.value_or(0), refused.tlvs.view());
  deliver(from, service, datagram_);
}

void dispatcher::compose(std::uint16_t transaction, std::uint16_t message_id, byte_view tlvs) {
  datagram_.resize(qmi::header_size);
  qmi::write_header({qmi::message_kind::response, transaction, message_id,
                     static_cast<std::uint16_t>(tlvs.size())},
                    datagram_);
  datagram_.insert(datagram_.end(), tlvs.begin(), tlvs.end());
}

void dispatcher::send(const client& to, const service_row& from, byte_view datagram,
                      std::chrono::milliseconds delay, const std::string& meaning) {
  if (delay.count() == 0) return deliver(to, from, datagram, meaning);
  if (!delayed_.add({to, &from, {datagram.begin(), datagram.end()}, meaning}, delay)) {
    trace_.note("dropped, too many delayed answers");
  }
}

void dispatcher::indicate(const indication& what, const service_row& from,
                          std::chrono::milliseconds delay) {
  constexpr std::uint16_t no_transaction = 0;
  send(
      what.to, from,
      qmi::build_message(qmi::message_kind::indication, no_transaction, what.message_id, what.tlvs),
      delay, {});
}

void dispatcher::deliver(const client& to, const service_row& from, byte_view datagram,
                         std::string_view meaning) {
  trace_.message(trace::direction::from_modem, to, from, datagram, meaning);
  to.send(node_.address_of(from), datagram);
}

void dispatcher::take_down(const fault_rule& fault) {
  delayed_.drop_service(*fault.service);
  node_.take_down(*fault.service);
  if (fault.value) come_back(*fault.service, std::chrono::milliseconds(*fault.value));
}

void dispatcher::come_back(const service_row& service, std::chrono::milliseconds time) {
  auto& back = returning_.insert_or_assign(&service, timer(io_, time)).first->second;
  back.async_wait([this, &service, due = back.expiry()](const std::error_code& cancelled) {
    const auto found = returning_.find(&service);
    // Another outage may have come on top of this one, too late to cancel.
    if (cancelled || found == returning_.end() || found->second.expiry() != due) return;
    returning_.erase(found);
    node_.bring_up(service);
  });
}

void dispatcher::restart() {
  trace_.note("the modem restarts");
  modem_.activity.count(event::restart);
  modem_.drop_unfinished();
  const radio::time now = modem_.radio.now();
  modem_.radio.turn(false, now);
  modem_.radio.turn(true, now + restart_time_);
  for (const service_row& service : node_.services()) {
    delayed_.drop_service(service);
    if (!node_.is_up(service) && !returning_.contains(&service)) continue;
    node_.take_down(service);
    come_back(service, restart_time_);
  }
}

}  // namespace sim
