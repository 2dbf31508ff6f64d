// PDC, the standard service of carrier configurations. A request gets a standard response at once;
// the outcome follows in an indication with the same message id: a QMI error code, and the
// token by which the requester knows it.
#include <algorithm>
#include <optional>
#include <utility>

#include "services/pdc_v01.h"
#include "simulator/services/handlers.h"
#include "simulator/services/messages.h"

namespace sim {
namespace {

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

std::optional<std::uint32_t> token_of(const request& asked) {
  return find_integer<std::uint32_t>(asked.tlvs, token_tlv);
}

std::uint32_t take_type(const request& asked) {
  const auto type = take<std::uint32_t>(asked, subject_tlv);
  if (!is_type(type)) refuse(error::invalid_argument);
  return type;
}

/// The type and id at the front.
config_name take_name(fields& in) {
  const auto type = in.next<std::uint32_t>();
  const byte_view id = in.counted();
  if (!is_type(type) || id.empty() || id.size() > max_config_id_size) {
    refuse(error::invalid_argument);
  }
  return {type, copied(id)};
}

config_name take_name(const request& asked) {
  fields in(asked, subject_tlv);
  config_name name = take_name(in);
  in.end();
  return name;
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

void report_change(reply& out, const modem& state, std::uint32_t type, byte_view active) {
  tlv_writer change;
  change.bytes(subject_tlv, packed().u32(type).counted(active).view());
  indicate(out, state, watched::config_change, {{}, pdc_config_change_v01, change.take()});
}

void report_refresh(reply& out, const modem& state, refresh what) {
  tlv_writer event;
  event.integer(subject_tlv, static_cast<std::uint32_t>(what));
  indicate(out, state, watched::config_refresh, {{}, pdc_refresh_v01, event.take()});
}

reply register_for_configs(const request& asked) {
  watch(asked, 0x10, watched::config_change);
  watch(asked, 0x11, watched::config_refresh);
  return error::none;
}

reply get_selected_config(const request& asked) {
  constexpr std::uint8_t active_tlv = 0x11;
  constexpr std::uint8_t pending_tlv = 0x12;
  const std::uint32_t type = take_type(asked);
  const auto active = asked.state.configs.active(type);
  const auto pending = asked.state.configs.pending(type);
  auto out = outcome(asked, active || pending ? error::none : error::not_provisioned);
  if (active) out.bytes(active_tlv, packed().counted(*active).view());
  if (pending) out.bytes(pending_tlv, packed().counted(*pending).view());
  return reply_with_token(asked, pdc_get_selected_config_v01, std::move(out));
}

reply set_selected_config(const request& asked) {
  const bool is_there = asked.state.configs.select(take_name(asked));
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
  auto& kept = asked.state.pdc_clients[asked.from].listing;
  const auto token = token_of(asked);
  auto listing = std::exchange(kept, std::nullopt);
  if (!listing || !token || listing->token != *token || listing->type != type) {
    listing = {token.value_or(0), type, 0};
  }
  const auto part = asked.state.configs.list(type, listing->after, pdc_config_list_max_v01);
  auto end = listing->after;
  const bool has_more = !asked.state.configs.list(type, end, 1).empty();

  packed entries = packed().u8(static_cast<std::uint8_t>(part.size()));
  for (const config_name& each : part) entries.u32(each.type).counted(each.id);
  auto out = outcome(asked, error::none);
  out.bytes(list_tlv, entries.view());
  if (has_more) {
    out.integer(more_tlv, std::uint8_t{1});
    kept = listing;
  }
  return reply_with(asked, pdc_list_configs_v01, std::move(out));
}

reply delete_config(const request& asked) {
  constexpr std::uint8_t id_tlv = 0x11;
  const std::uint32_t type = take_type(asked);
  // Not in the indication: clients do not wait for it.
  switch (asked.state.configs.erase({type, copied(take_counted(asked, id_tlv))})) {
    case pdc_configs::erased::not_there:
      return error::invalid_id;
    case pdc_configs::erased::active:
      return error::device_in_use;
    case pdc_configs::erased::done:
      break;
  }
  return reply_with_token(asked, pdc_delete_config_v01, outcome(asked, error::none));
}

/// A chunk of a configuration, from its request.
struct load_chunk {
  config_name name;
  std::uint32_t total = 0;
  byte_view data;
};

load_chunk take_chunk(const request& asked) {
  fields in(asked, subject_tlv);
  load_chunk chunk;
  chunk.name = take_name(in);
  chunk.total = in.next<std::uint32_t>();
  chunk.data = in.counted<std::uint16_t>();
  in.end();
  if (chunk.total == 0 || chunk.data.size() > pdc_config_frame_max_v01) {
    refuse(error::invalid_argument);
  }
  return chunk;
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
  auto& kept = asked.state.pdc_clients[asked.from].loading;
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

reply load_config(const request& asked) {
  constexpr std::uint8_t received_tlv = 0x11;
  constexpr std::uint8_t remaining_tlv = 0x12;
  constexpr std::uint8_t starts_over_tlv = 0x13;
  const load_chunk chunk = take_chunk(asked);
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
  const std::uint32_t type = take_type(asked);
  modem& state = asked.state;
  const bool was_pending = state.configs.activate(type);
  reply out = reply_with_token(asked, pdc_activate_config_v01,
                               outcome(asked, was_pending ? error::none : error::not_provisioned));
  if (was_pending) {
    const auto active = state.configs.active(type).value_or(config_id{});
    report_change(out, state, type, active);
    report_refresh(out, state, refresh::start);
    out.restart = true;
  }
  return out;
}

reply get_config_info(const request& asked) {
  constexpr std::uint8_t size_tlv = 0x11;
  constexpr std::uint8_t description_tlv = 0x12;
  constexpr std::uint8_t version_tlv = 0x13;
  const auto details = asked.state.configs.find(take_name(asked));
  auto out = outcome(asked, details ? error::none : error::invalid_id);
  if (details) {
    out.integer(size_tlv, details->size);
    out.bytes(description_tlv, packed().counted_text(details->description).view());
    out.integer(version_tlv, details->version);
  }
  return reply_with(asked, pdc_get_config_info_v01, std::move(out));
}

reply get_config_limits(const request& asked) {
  constexpr std::uint8_t most_tlv = 0x11;
  constexpr std::uint8_t used_tlv = 0x12;
  const std::uint32_t type = take_type(asked);
  reply out = error::none;
  if (const auto token = token_of(asked)) out.tlvs.integer(token_tlv, *token);
  out.tlvs.integer(most_tlv, max_config_bytes);
  out.tlvs.integer(used_tlv, asked.state.configs.used_bytes(type));
  return out;
}

reply deactivate_config(const request& asked) {
  const std::uint32_t type = take_type(asked);
  modem& state = asked.state;
  const bool was_active = state.configs.active(type).has_value();
  state.configs.deactivate(type);
  reply out = reply_with_token(asked, pdc_deactivate_config_v01,
                               outcome(asked, was_active ? error::none : error::not_provisioned));
  if (was_active) {
    report_refresh(out, state, refresh::start);
    report_change(out, state, type, {});
    report_refresh(out, state, refresh::complete);
  }
  return out;
}

reply set_config_feature(const request& asked) {
  return reply_with(asked, pdc_set_feature_v01, outcome(asked, error::none));
}

constexpr tlv_row register_request_tlvs[] = {{0x10, "reporting"}, {0x11, "refresh"}};
constexpr tlv_row type_request_tlvs[] = {{0x01, "type"}, {0x10, "token"}};
constexpr tlv_row config_request_tlvs[] = {{0x01, "type, id", shown_as::bytes}, {0x10, "token"}};
constexpr tlv_row list_request_tlvs[] = {{0x10, "token"}, {0x11, "type"}};
constexpr tlv_row delete_request_tlvs[] = {
    {0x01, "type"}, {0x10, "token"}, {0x11, "id", shown_as::bytes}};
constexpr tlv_row load_request_tlvs[] = {{0x01, "type, id, chunk", shown_as::bytes},
                                         {0x10, "token"}};
constexpr tlv_row response_tlvs[] = {{0x10, "token"}};
constexpr tlv_row limits_response_tlvs[] = {
    {0x10, "token"}, {0x11, "most bytes"}, {0x12, "bytes in use"}};
constexpr tlv_row result_tlvs[] = {{0x01, "error"}, {0x10, "token"}};
constexpr tlv_row selected_tlvs[] = {{0x01, "error"},
                                     {0x10, "token"},
                                     {0x11, "active id", shown_as::bytes},
                                     {0x12, "pending id", shown_as::bytes}};
constexpr tlv_row list_tlvs[] = {
    {0x01, "error"}, {0x10, "token"}, {0x11, "configurations", shown_as::bytes}, {0xE0, "more"}};
constexpr tlv_row load_tlvs[] = {{0x01, "error"},
                                 {0x10, "token"},
                                 {0x11, "bytes so far"},
                                 {0x12, "bytes to come"},
                                 {0x13, "starts over"}};
constexpr tlv_row info_tlvs[] = {{0x01, "error"},
                                 {0x10, "token"},
                                 {0x11, "size"},
                                 {0x12, "description", shown_as::bytes},
                                 {0x13, "version"}};
constexpr tlv_row change_tlvs[] = {{0x01, "type, id", shown_as::bytes}};
constexpr tlv_row refresh_tlvs[] = {{0x01, "event"}};

constexpr message_row message(std::uint16_t id, const char* name, message_handler answer,
                              std::span<const tlv_row> request_tlvs,
                              std::span<const tlv_row> indication_tlvs) {
  return {.id = id,
          .name = name,
          .answer = answer,
          .request_tlvs = request_tlvs,
          .response_tlvs = response_tlvs,
          .indication_tlvs = indication_tlvs};
}

constexpr message_row rows[] = {
    message(pdc_register_v01, "register", register_for_configs, register_request_tlvs, {}),
    message(pdc_config_change_v01, "config change", nullptr, {}, change_tlvs),
    message(pdc_get_selected_config_v01, "get selected config", get_selected_config,
            type_request_tlvs, selected_tlvs),
    message(pdc_set_selected_config_v01, "set selected config", set_selected_config,
            config_request_tlvs, result_tlvs),
    message(pdc_list_configs_v01, "list configs", list_configs, list_request_tlvs, list_tlvs),
    message(pdc_delete_config_v01, "delete config", delete_config, delete_request_tlvs,
            result_tlvs),
    message(pdc_load_config_v01, "load config", load_config, load_request_tlvs, load_tlvs),
    message(pdc_activate_config_v01, "activate config", activate_config, type_request_tlvs,
            result_tlvs),
    message(pdc_get_config_info_v01, "get config info", get_config_info, config_request_tlvs,
            info_tlvs),
    {pdc_get_config_limits_v01, "get config limits", get_config_limits, type_request_tlvs,
     limits_response_tlvs},
    message(pdc_deactivate_config_v01, "deactivate config", deactivate_config, type_request_tlvs,
            result_tlvs),
    message(pdc_set_feature_v01, "set feature", set_config_feature, {}, result_tlvs),
    message(pdc_refresh_v01, "refresh", nullptr, {}, refresh_tlvs),
};

}  // namespace

std::span<const message_row> pdc_messages() {
  return rows;
}

}  // namespace sim
