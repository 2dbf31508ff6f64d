#include "simulator/ports/qmux_control.h"

#include <algorithm>
#include <iterator>

#include "protocol/qmi_message.h"
#include "simulator/ports/qmux_port.h"

namespace sim {
namespace {

using protocol::append_le;
using protocol::byte_view;
using protocol::qmi::error;
using protocol::qmi::find_integer;
using protocol::qmi::find_tlv;
using protocol::qmi::tlv_writer;

using protocol::qmux::control_id;

constexpr std::uint8_t value_tlv = protocol::qmux::control_value_tlv;

struct control_request {
  qmux_port& port;
  connection_number from;
  byte_view tlvs;
};

error set_instance_id(const control_request& asked, tlv_writer& answer) {
  const auto instance = find_integer<std::uint8_t>(asked.tlvs, value_tlv);
  if (!instance) return error::missing_argument;
  answer.integer(value_tlv, std::uint16_t{*instance});
  return error::none;
}

/// CTL itself first, as real modems list it.
error get_version_info(const control_request& asked, tlv_writer& answer) {
  constexpr std::uint16_t control_major = 1;
  constexpr std::uint16_t control_minor = 5;
  std::vector<std::uint8_t> versions{1, protocol::qmux::control_service};
  append_le(versions, control_major);
  append_le(versions, control_minor);
  for (const service_row& each : asked.port.services().services()) {
    const auto id = static_cast<std::uint8_t>(each.id);
    if (asked.port.find_service(id) != &each) continue;
    ++versions.front();
    versions.push_back(id);
    append_le(versions, std::uint16_t{each.version});
    append_le(versions, std::uint16_t{0});
  }
  answer.bytes(value_tlv, versions);
  return error::none;
}

error allocate_client(const control_request& asked, tlv_writer& answer) {
  const auto id = find_integer<std::uint8_t>(asked.tlvs, value_tlv);
  if (!id) return error::missing_argument;
  const service_row* const service = asked.port.find_service(*id);
  if (service == nullptr) return error::invalid_service_type;
  const auto client = asked.port.allocate(asked.from, *service);
  if (!client) return error::client_ids_exhausted;
  answer.bytes(value_tlv, std::vector{*id, *client});
  return error::none;
}

error release_client(const control_request& asked, tlv_writer& answer) {
  const auto value = find_tlv(asked.tlvs, value_tlv);
  if (!value) return error::missing_argument;
  if (value->size() != 2) return error::malformed_message;
  const std::uint8_t service = (*value)[0];
  const std::uint8_t id = (*value)[1];
  if (!asked.port.release(service, id)) return error::invalid_client_id;
  answer.bytes(value_tlv, std::vector{service, id});
  return error::none;
}

/// There is no data port, so any requested format is accepted.
error set_data_format(const control_request& asked, tlv_writer& answer) {
  constexpr std::uint8_t link_protocol_tlv = 0x10;
  constexpr std::uint16_t raw_ip = 2;
  answer.integer(link_protocol_tlv,
                 find_integer<std::uint16_t>(asked.tlvs, link_protocol_tlv).value_or(raw_ip));
  return error::none;
}

error sync(const control_request& asked, tlv_writer& /*answer*/) {
  asked.port.release_all();
  return error::none;
}

/// Any device name stands for this modem.
error open_through_proxy(const control_request& asked, tlv_writer& /*answer*/) {
  return find_tlv(asked.tlvs, value_tlv) ? error::none : error::missing_argument;
}

struct control_row {
  control_id id;
  const char* name;
  error (*answer)(const control_request& asked, tlv_writer& answer);
};

constexpr control_row rows[] = {
    {control_id::set_instance_id, "set instance id", set_instance_id},
    {control_id::get_version_info, "get version info", get_version_info},
    {control_id::allocate_client, "allocate client", allocate_client},
    {control_id::release_client, "release client", release_client},
    {control_id::set_data_format, "set data format", set_data_format},
    {control_id::sync, "sync", sync},
    {control_id::open_through_proxy, "open through proxy", open_through_proxy},
};

const control_row* find_row(control_id id) {
  const auto* const row = std::ranges::find(rows, id, &control_row::id);
  return row == std::end(rows) ? nullptr : row;
}

}  // namespace

const char* control_message_name(protocol::qmux::control_id id) {
  const control_row* const row = find_row(id);
  return row == nullptr ? nullptr : row->name;
}

std::vector<std::uint8_t> answer_control(qmux_port& port, connection_number from,
                                         const protocol::qmux::control_message& asked) {
  const control_row* const row = find_row(asked.id);
  tlv_writer values;
  auto result = error::invalid_qmi_command;
  if (!protocol::qmi::well_formed(asked.tlvs)) {
    result = error::malformed_message;
  } else if (row != nullptr) {
    result = row->answer({port, from, asked.tlvs}, values);
  }
  tlv_writer answer;
  answer.standard_response(result);
  auto bytes = answer.take();
  if (result == error::none) {
    bytes.insert(bytes.end(), values.view().begin(), values.view().end());
  }
  return bytes;
}

}  // namespace sim
