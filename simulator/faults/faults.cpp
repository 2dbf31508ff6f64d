#include "simulator/faults/faults.h"

#include <fmt/core.h>

#include <utility>

#include "simulator/diag/faults.h"
#include "simulator/number.h"

namespace sim {
namespace {

/// In the order of `fault_action`.
constexpr action_form actions[] = {
    {"silent", value_use::none, 0, 0, "silent"},
    {"delay", value_use::needed, 0, max_32, "delay:MS"},
    {"error", value_use::needed, 1, max_16, "error:CODE"},
    {"result", value_use::needed, 0, max_32, "result:N"},
    {"truncate", value_use::needed, 0, max_16, "truncate:BYTES"},
    {"wrong-id", value_use::optional, 0, max_16, "wrong-id[:ID]"},
    {"down", value_use::optional, 0, max_32, "down[:MS]"},
};
static_assert(actions[static_cast<std::size_t>(fault_action::down)].name == "down");

const service_row* find_service(std::string_view text, std::span<const service_row> services) {
  const auto number = parse_number(text, 0, max_32);
  for (const service_row& row : services) {
    if (row.name == text || row.id == number) return &row;
  }
  return nullptr;
}

// Offsets in a QMI message.
constexpr std::size_t message_id_at = 3;
constexpr std::size_t tlv_length_at = 5;

void set_result(const fault_rule& rule, std::span<std::uint8_t> datagram) {
  const std::span tlvs = datagram.subspan(protocol::qmi::header_size);
  const auto result = protocol::qmi::find_tlv(tlvs, rule.service->result_tlv);
  if (!result || result->size() != sizeof(std::uint32_t)) return;
  protocol::store_le(*rule.value,
                     tlvs.subspan(static_cast<std::size_t>(result->data() - tlvs.data())));
}

void truncate(std::size_t tlv_bytes, std::vector<std::uint8_t>& datagram) {
  if (tlv_bytes >= datagram.size() - protocol::qmi::header_size) return;
  datagram.resize(protocol::qmi::header_size + tlv_bytes);
  protocol::store_le(static_cast<std::uint16_t>(tlv_bytes),
                     std::span(datagram).subspan(tlv_length_at));
}

void set_message_id(const fault_rule& rule, std::span<std::uint8_t> datagram) {
  const auto id = protocol::load_le<std::uint16_t>(datagram.subspan(message_id_at));
  protocol::store_le(static_cast<std::uint16_t>(rule.value.value_or(id + 1U)),
                     datagram.subspan(message_id_at));
}

}  // namespace

fault_rule parse_fault_rule(std::string_view text, std::span<const service_row> services) {
  const rule_text read(text, actions);
  fault_rule rule(read);
  rule.service = find_service(read.target, services);
  if (rule.service == nullptr) {
    std::string names;
    for (const service_row& row : services) names.append(row.name).append(", ");
    read.refuse(fmt::format("no service '{}' among the services {}{}", read.target, names,
                            diag::fault_target));
  }
  if (read.message) {
    const auto id = parse_number(*read.message, 0, max_16);
    if (!id) read.refuse(fmt::format("'{}' is not a message number", *read.message));
    rule.message = static_cast<std::uint16_t>(*id);
  }
  if (rule.action == fault_action::result && rule.service->result_tlv == no_result_tlv) {
    read.refuse(fmt::format("{} has no result of its own", rule.service->name));
  }
  return rule;
}

void alter_answer(const fault_rule& rule, std::vector<std::uint8_t>& datagram) {
  switch (rule.action) {
    case fault_action::result:
      return set_result(rule, datagram);
    case fault_action::truncate:
      return truncate(*rule.value, datagram);
    case fault_action::wrong_id:
      return set_message_id(rule, datagram);
    case fault_action::silent:
    case fault_action::delay:
    case fault_action::error:
    case fault_action::down:
      return;
  }
}

faults::faults(std::vector<fault_rule> rules) {
  for (fault_rule& rule : rules) {
    if (rule.strikes_at_start()) {
      at_start_.push_back(std::move(rule));
    } else {
      on_request_.add(std::move(rule));
    }
  }
}

const fault_rule* faults::strike(const service_row& service, std::uint16_t message_id) {
  return on_request_.strike([&](const fault_rule& rule) {
    return rule.service == &service && (!rule.message || *rule.message == message_id);
  });
}

}  // namespace sim
