#include "simulator/services/pdc.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "simulator/modem/modem.h"

namespace sim {
namespace {

using protocol::append_le;
using protocol::byte_reader;
using protocol::byte_view;
using protocol::qmi::error;
using protocol::qmi::find_integer;
using protocol::qmi::find_tlv;
using protocol::qmi::tlv_writer;

constexpr std::uint8_t subject_tlv = 0x01;  ///< request: the type, or the type and more
constexpr std::uint8_t error_tlv = 0x01;    ///< indication
constexpr std::uint8_t token_tlv = 0x10;
constexpr std::uint8_t more_tlv = 0xE0;  ///< far from the numbers that modems use

enum class refresh : std::uint32_t { start = 0, complete = 1 };

bool is_type(std::uint32_t type) {
  return type <= last_config_type;
}

bool is_id(byte_view id) {
  return !id.empty() && id.size() <= max_config_id_size;
}

std::optional<std::uint32_t> token_of(const request& asked) {
  return find_integer<std::uint32_t>(asked.tlvs, token_tlv);
}

/// u8 count and as many bytes.
std::optional<byte_view> take_id(byte_reader& in) {
  const auto count = in.take<std::uint8_t>();
  return count ? in.take_bytes(*count) : std::nullopt;
}

/// The type and id at the front of `in`.
error take_name(byte_reader& in, config_name& name) {
  const auto type = in.take<std::uint32_t>();
  const auto id = take_id(in);
  if (!type || !id) return error::malformed_message;
  if (!is_type(*type) || !is_id(*id)) return error::invalid_argument;
  name = {*type, {id->begin(), id->end()}};
  return error::none;
}

error read_type(const request& asked, std::uint32_t& type) {
  const auto value = find_tlv(asked.tlvs, subject_tlv);
  if (!value) return error::missing_argument;
  if (value->size() != sizeof(std::uint32_t)) return error::malformed_message;
  type = protocol::load_le<std::uint32_t>(*value);
  return is_type(type) ? error::none : error::invalid_argument;
}

error read_name(const request& asked, config_name& name) {
  const auto value = find_tlv(asked.tlvs, subject_tlv);
  if (!value) return error::missing_argument;
  byte_reader in(*value);
  if (const error wrong = take_name(in, name); wrong != error::none) return wrong;
  return in.empty() ? error::none : error::malformed_message;
}

void append_id(std::vector<std::uint8_t>& out, byte_view id) {
  out.push_back(static_cast<std::uint8_t>(id.size()));
  out.insert(out.end(), id.begin(), id.end());
}

std::vector<std::uint8_t> bytes_of(byte_view id) {
  std::vector<std::uint8_t> out;
  append_id(out, id);
  return out;
}

std::vector<std::uint8_t> bytes_of(std::uint32_t type, byte_view id) {
  std::vector<std::uint8_t> out;
  append_le(out, type);
  append_id(out, id);
  return out;
}

/// The beginning of every outcome.
tlv_writer outcome(const request& asked, error result) {
  tlv_writer out;
  out.integer(error_tlv, static_cast<std::uint16_t>(result));
  if (const auto token = token_of(asked)) out.integer(token_tlv, *token);
  return out;
}

/// The standard response, and after it the outcome.
reply reply_with(const request& asked, std::uint16_t message_id, tlv_writer outcome) {
  reply out = error::none;
  out.indications.push_back({asked.from, message_id, outcome.take()});
  return out;
}

/// The same, with the token in the response too.
reply reply_with_token(const request& asked, std::uint16_t message_id, tlv_writer outcome) {
  reply out = reply_with(asked, message_id, std::move(outcome));
  if (const auto token = token_of(asked)) out.tlvs.integer(token_tlv, *token);
  return out;
}

/// To the clients that registered for changes.
void report_change(reply& out, const pdc_clients& clients, std::uint32_t type, byte_view id) {
  for (const auto& [who, registered] : clients.all()) {
    if (!registered.wants_changes) continue;
    tlv_writer change;
    change.bytes(subject_tlv, bytes_of(type, id));
    out.indications.push_back({who, pdc_config_change_v01, change.take()});
  }
}

void report_refresh(reply& out, const pdc_clients& clients, refresh what) {
  for (const auto& [who, registered] : clients.all()) {
    if (!registered.wants_refreshes) continue;
    tlv_writer event;
    event.integer(subject_tlv, static_cast<std::uint32_t>(what));
    out.indications.push_back({who, pdc_refresh_v01, event.take()});
  }
}

/// A chunk of a configuration, from its request.
struct load_chunk {
  config_name name;
  std::uint32_t total = 0;
  byte_view data;
};

error read_chunk(const request& asked, load_chunk& chunk) {
  const auto value = find_tlv(asked.tlvs, subject_tlv);
  if (!value) return error::missing_argument;
  byte_reader in(*value);
  if (const error wrong = take_name(in, chunk.name); wrong != error::none) return wrong;
  const auto total = in.take<std::uint32_t>();
  const auto count = in.take<std::uint16_t>();
  const auto data = count ? in.take_bytes(*count) : std::nullopt;
  if (!data || !in.empty()) return error::malformed_message;
  if (*total == 0 || data->size() > pdc_config_frame_max_v01) return error::invalid_argument;
  chunk.total = *total;
  chunk.data = *data;
  return error::none;
}

/// Why no configuration of this name and size can be loaded.
error refusal_of_load(modem& state, const load_chunk& chunk) {
  if (state.configs.find(chunk.name)) return error::invalid_id;
  const bool fits =
      chunk.total <=
      max_config_bytes - std::min(max_config_bytes, state.configs.used_bytes(chunk.name.type));
  return fits ? error::none : error::no_memory;
}

/// How a load stands after a chunk.
struct load_progress {
  error result = error::none;
  std::uint32_t received = 0;
  bool starts_over = false;
};

load_progress add_chunk(const request& asked, const load_chunk& chunk) {
  // Anything that ends this chunk early ends the load as well.
  auto& kept = asked.state.pdc_clients.of(asked.from).loading;
  auto loading = std::exchange(kept, std::nullopt);
  if (!loading || loading->name != chunk.name || loading->total != chunk.total) {
    if (const error wrong = refusal_of_load(asked.state, chunk); wrong != error::none) {
      return {wrong};
    }
    loading = {chunk.name, chunk.total, {}};
  }
  if (chunk.data.size() > chunk.total - loading->data.size()) return {.starts_over = true};
  loading->data.insert(loading->data.end(), chunk.data.begin(), chunk.data.end());
  const auto received = static_cast<std::uint32_t>(loading->data.size());
  if (received < chunk.total) {
    kept = std::move(loading);
  } else if (!asked.state.configs.add(chunk.name, loading->data)) {
    return {error::invalid_id};  // another client was faster
  }
  return {.received = received};
}

}  // namespace

reply register_for_configs(const request& asked) {
  constexpr std::uint8_t reporting_tlv = 0x10;
  constexpr std::uint8_t refresh_tlv = 0x11;
  pdc_client& registered = asked.state.pdc_clients.of(asked.from);
  if (const auto on = find_integer<std::uint8_t>(asked.tlvs, reporting_tlv)) {
    registered.wants_changes = *on != 0;
  }
  if (const auto on = find_integer<std::uint8_t>(asked.tlvs, refresh_tlv)) {
    registered.wants_refreshes = *on != 0;
  }
  return error::none;
}

reply get_selected_config(const request& asked) {
  constexpr std::uint8_t active_tlv = 0x11;
  constexpr std::uint8_t pending_tlv = 0x12;
  std::uint32_t type = 0;
  if (const error wrong = read_type(asked, type); wrong != error::none) return wrong;
  const auto active = asked.state.configs.active(type);
  const auto pending = asked.state.configs.pending(type);
  auto out = outcome(asked, active || pending ? error::none : error::not_provisioned);
  if (active) out.bytes(active_tlv, bytes_of(*active));
  if (pending) out.bytes(pending_tlv, bytes_of(*pending));
  return reply_with_token(asked, pdc_get_selected_config_v01, std::move(out));
}

reply set_selected_config(const request& asked) {
  config_name name;
  if (const error wrong = read_name(asked, name); wrong != error::none) return wrong;
  const bool is_there = asked.state.configs.select(name);
  return reply_with_token(asked, pdc_set_selected_config_v01,
                          outcome(asked, is_there ? error::none : error::invalid_id));
}

reply list_configs(const request& asked) {
  constexpr std::uint8_t type_tlv = 0x11;
  constexpr std::uint8_t list_tlv = 0x11;
  const auto type = find_integer<std::uint32_t>(asked.tlvs, type_tlv);
  if (type && !is_type(*type)) return error::invalid_argument;
  if (!type && find_tlv(asked.tlvs, type_tlv)) return error::malformed_message;

  // The same token and type again ask for the next part.
  auto& kept = asked.state.pdc_clients.of(asked.from).listing;
  const auto token = token_of(asked);
  auto listing = std::exchange(kept, std::nullopt);
  if (!listing || !token || listing->token != *token || listing->type != type) {
    listing = {token.value_or(0), type, 0};
  }
  const auto part = asked.state.configs.list(type, listing->after, pdc_config_list_max_v01);
  auto end = listing->after;
  const bool has_more = !asked.state.configs.list(type, end, 1).empty();

  std::vector<std::uint8_t> entries{static_cast<std::uint8_t>(part.size())};
  for (const config_name& each : part) {
    append_le(entries, each.type);
    append_id(entries, each.id);
  }
  auto out = outcome(asked, error::none);
  out.bytes(list_tlv, entries);
  if (has_more) {
    out.integer(more_tlv, std::uint8_t{1});
    kept = listing;
  }
  return reply_with(asked, pdc_list_configs_v01, std::move(out));
}

reply delete_config(const request& asked) {
  constexpr std::uint8_t id_tlv = 0x11;
  config_name name;
  if (const error wrong = read_type(asked, name.type); wrong != error::none) return wrong;
  const auto value = find_tlv(asked.tlvs, id_tlv);
  if (!value) return error::missing_argument;
  byte_reader in(*value);
  const auto id = take_id(in);
  if (!id || !in.empty()) return error::malformed_message;
  name.id.assign(id->begin(), id->end());
  // Not in the indication: clients do not wait for it.
  switch (asked.state.configs.erase(name)) {
    case pdc_configs::erased::not_there:
      return error::invalid_id;
    case pdc_configs::erased::active:
      return error::device_in_use;
    case pdc_configs::erased::done:
      break;
  }
  return reply_with_token(asked, pdc_delete_config_v01, outcome(asked, error::none));
}

reply load_config(const request& asked) {
  constexpr std::uint8_t received_tlv = 0x11;
  constexpr std::uint8_t remaining_tlv = 0x12;
  constexpr std::uint8_t starts_over_tlv = 0x13;
  load_chunk chunk;
  if (const error wrong = read_chunk(asked, chunk); wrong != error::none) return wrong;
  const load_progress progress = add_chunk(asked, chunk);
  auto out = outcome(asked, progress.result);
  if (progress.result == error::none) {
    out.integer(received_tlv, progress.received);
    out.integer(remaining_tlv, chunk.total - progress.received);
    if (progress.starts_over) out.integer(starts_over_tlv, std::uint8_t{1});
  }
  return reply_with_token(asked, pdc_load_config_v01, std::move(out));
}

reply activate_config(const request& asked) {
  std::uint32_t type = 0;
  if (const error wrong = read_type(asked, type); wrong != error::none) return wrong;
  modem& state = asked.state;
  const bool was_pending = state.configs.activate(type);
  reply out = reply_with_token(asked, pdc_activate_config_v01,
                               outcome(asked, was_pending ? error::none : error::not_provisioned));
  if (was_pending) {
    const auto active = state.configs.active(type).value_or(config_id{});
    report_change(out, state.pdc_clients, type, active);
    report_refresh(out, state.pdc_clients, refresh::start);
    out.restart = true;
  }
  return out;
}

reply get_config_info(const request& asked) {
  constexpr std::uint8_t size_tlv = 0x11;
  constexpr std::uint8_t description_tlv = 0x12;
  constexpr std::uint8_t version_tlv = 0x13;
  config_name name;
  if (const error wrong = read_name(asked, name); wrong != error::none) return wrong;
  const auto details = asked.state.configs.find(name);
  auto out = outcome(asked, details ? error::none : error::invalid_id);
  if (details) {
    const std::vector<std::uint8_t> text(details->description.begin(), details->description.end());
    out.integer(size_tlv, details->size);
    out.bytes(description_tlv, bytes_of(text));
    out.integer(version_tlv, details->version);
  }
  return reply_with(asked, pdc_get_config_info_v01, std::move(out));
}

reply get_config_limits(const request& asked) {
  constexpr std::uint8_t most_tlv = 0x11;
  constexpr std::uint8_t used_tlv = 0x12;
  std::uint32_t type = 0;
  if (const error wrong = read_type(asked, type); wrong != error::none) return wrong;
  reply out = error::none;
  if (const auto token = token_of(asked)) out.tlvs.integer(token_tlv, *token);
  out.tlvs.integer(most_tlv, max_config_bytes);
  out.tlvs.integer(used_tlv, asked.state.configs.used_bytes(type));
  return out;
}

reply deactivate_config(const request& asked) {
  std::uint32_t type = 0;
  if (const error wrong = read_type(asked, type); wrong != error::none) return wrong;
  modem& state = asked.state;
  const bool was_active = state.configs.active(type).has_value();
  state.configs.deactivate(type);
  reply out = reply_with_token(asked, pdc_deactivate_config_v01,
                               outcome(asked, was_active ? error::none : error::not_provisioned));
  if (was_active) {
    report_refresh(out, state.pdc_clients, refresh::start);
    report_change(out, state.pdc_clients, type, {});
    report_refresh(out, state.pdc_clients, refresh::complete);
  }
  return out;
}

reply set_config_feature(const request& asked) {
  return reply_with(asked, pdc_set_feature_v01, outcome(asked, error::none));
}

}  // namespace sim
