// Extension requests of type 4. The first word says which kind it is; kind 2 is a common message:
//   0 u32 kind | 4 u32 0 | 8 u32 number | 12 u32 length | 16 payload
// All answers have 508 bytes: 0 u32 number | 4 u32 result; queries add 8 u32 value | 12 u32 4.
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

#include "simulator/modem/dump.h"
#include "simulator/services/extension.h"
#include "simulator/services/extension_statistics.h"

namespace sim {
namespace {

using protocol::byte_view;

constexpr std::size_t answer_size = 508;
constexpr std::size_t result_at = 4;
constexpr std::size_t value_at = 8;
constexpr std::size_t value_length_at = 12;

/// The arguments of a message, as 32-bit words.
struct arguments {
  byte_view bytes;

  [[nodiscard]] std::size_t count() const { return bytes.size() / sizeof(std::uint32_t); }
  [[nodiscard]] std::uint32_t operator[](std::size_t index) const {
    return protocol::load_le<std::uint32_t>(bytes.subspan(index * sizeof(std::uint32_t)));
  }
};

/// The outcome of a message.
struct common_reply {
  common_reply(outcome what, std::uint32_t number = 0) : result(what), value(number) {}

  outcome result;
  std::uint32_t value;  ///< of a query
  bool restart = false;
};

common_reply restart(arguments in, modem& state) {
  constexpr std::uint32_t plain = 0x1000;
  constexpr std::uint32_t with_dump = 0x2000;
  if (in[0] != plain && in[0] != with_dump) return outcome::bad_argument;
  if (in[0] == with_dump) write_dump(state, "full dump asked for by a client");
  state.store.count("restarts");
  common_reply out = outcome::ok;
  out.restart = true;
  return out;
}

common_reply sync(arguments /*in*/, modem& state) {
  state.store.checkpoint();
  return outcome::ok;
}

common_reply switch_notice(arguments in, modem& state) {
  const std::uint64_t both = std::uint64_t{in[1]} << 32 | in[0];
  state.kept.set(setting_of::switch_notice, static_cast<std::int64_t>(both));
  state.activity.count(event::switch_notice);
  return outcome::ok;
}

common_reply any_card(arguments /*in*/, modem& state) {
  return {outcome::ok, state.cards.count() > 0 ? 1U : 0U};
}

common_reply card_count(arguments /*in*/, modem& state) {
  return {outcome::ok, state.cards.count()};
}

common_reply card_in_slot(arguments in, modem& state) {
  if (in[0] >= card_slots) return outcome::bad_argument;
  return {outcome::ok, state.cards.present(in[0]) ? 1U : 0U};
}

common_reply set_card(arguments in, modem& state) {
  constexpr void (cards::*set[])(unsigned slot, bool in) = {&cards::set_tray, &cards::set_sim};
  if (in[0] >= card_slots || in[1] >= std::size(set) || in[2] > 1) return outcome::bad_argument;
  (state.cards.*set[in[1]])(in[0], in[2] == 1);
  return outcome::ok;
}

common_reply hot_swap(arguments in, modem& state) {
  if (in[0] == 0) {
    state.hot_swap.stop();
    return outcome::ok;
  }
  constexpr std::size_t words_to_start = 4;
  constexpr std::uint32_t first_negative = 0x80000000;
  if (in[0] != 1 || in.count() < words_to_start) return outcome::bad_argument;
  if (std::max({in[1], in[2], in[3]}) >= first_negative) return outcome::bad_argument;
  state.hot_swap.start({std::chrono::seconds(in[1]), std::chrono::seconds(in[2]), in[3]});
  return outcome::ok;
}

struct common_row {
  std::uint32_t number;
  bool has_value;
  const char* name;
  std::size_t words;  ///< arguments required
  common_reply (*act)(arguments in, modem& state);
};
constexpr common_row messages[] = {
    {31, false, "restart", 1, restart},           {35, false, "NV sync", 0, sync},
    {39, true, "card status query", 0, any_card}, {55, true, "card status get", 1, card_in_slot},
    {56, true, "card type query", 0, card_count}, {57, false, "card status set", 3, set_card},
    {80, false, "hot-swap run", 1, hot_swap},     {84, false, "switch notice", 2, switch_notice},
};

const common_row* find_message(std::uint32_t number) {
  const auto* const row = std::ranges::find(messages, number, &common_row::number);
  return row == std::end(messages) ? nullptr : row;
}

struct common_message {
  std::uint32_t number = 0;
  std::uint32_t length = 0;
  byte_view payload;  ///< as long as it came
};

std::optional<common_message> parse_message(byte_view data) {
  protocol::byte_reader in(data);
  const auto kind = in.take<std::uint32_t>();
  const auto reserved = in.take<std::uint32_t>();
  const auto number = in.take<std::uint32_t>();
  const auto length = in.take<std::uint32_t>();
  if (!kind || !reserved || !length) return std::nullopt;
  return common_message{*number, *length, in.rest()};
}

common_reply act(const common_message& message, modem& state) {
  state.store.count("common." + std::to_string(message.number));
  const common_row* const row = find_message(message.number);
  if (row == nullptr) return outcome::ok;
  if (message.length > message.payload.size()) return outcome::bad_argument;
  const arguments in{message.payload.first(message.length)};
  return in.count() < row->words ? outcome::bad_argument : row->act(in, state);
}

void put(std::uint32_t word, std::size_t at, std::span<std::uint8_t> out) {
  protocol::store_le(word, out.subspan(at));
}

extension_response answer_message(const extension_call& call) {
  const auto message = parse_message(call.data);
  if (!message) return {};
  common_reply made = outcome::ok;
  const outcome result = outcome_of([&] {
    made = act(*message, call.state);
    return made.result;
  });
  put(message->number, 0, call.payload);
  put(static_cast<std::uint32_t>(result), result_at, call.payload);
  const common_row* const row = find_message(message->number);
  if (row != nullptr && row->has_value && result == outcome::ok) {
    put(made.value, value_at, call.payload);
    put(sizeof(made.value), value_length_at, call.payload);
  }
  return {0, answer_size, made.restart};
}

// The two antenna settings come without a number, from offset 8 on, and are kept as EFS files.
constexpr std::size_t setting_at = 8;

extension_response keep_setting(const extension_call& call, std::size_t size, const char* path) {
  const outcome result = outcome_of([&] {
    if (call.data.size() < setting_at + size) return outcome::bad_argument;
    call.state.efs.write(0, path, call.data.subspan(setting_at, size));
    return outcome::ok;
  });
  put(protocol::load_le<std::uint32_t>(call.data), 0, call.payload);
  put(static_cast<std::uint32_t>(result), result_at, call.payload);
  return {0, answer_size};
}

/// 8 u32 count as the user gave it | 12 s32 values, at most 50
extension_response set_gpio(const extension_call& call) {
  constexpr std::size_t word = sizeof(std::uint32_t);
  constexpr std::uint32_t most = 50;
  const bool has_count = call.data.size() >= setting_at + word;
  const auto count =
      has_count ? protocol::load_le<std::uint32_t>(call.data.subspan(setting_at)) : 0;
  return keep_setting(call, word * (1 + std::min(count, most)),
                      "/nv/item_files/modem/norvel/rf_ant_port_config");
}

/// 8 s32 antenna | 12 s32 system | 16 u64 bands
extension_response set_rf_tx(const extension_call& call) {
  return keep_setting(call, 16, "/nv/item_files/modem/antenna/ant_tx_config");
}

extension_response get_statistics(const extension_call& call) {
  write_statistics(call.state.activity, call.payload);
  return {0, answer_size};
}

struct kind_row {
  std::uint32_t kind;
  const char* name;
  extension_response (*answer)(const extension_call& call);
};
constexpr kind_row kinds[] = {
    {0, "GPIO setting", set_gpio},
    {1, "RF TX setting", set_rf_tx},
    {2, "common message", answer_message},
    {20, "statistics", get_statistics},
};

const kind_row* find_kind(byte_view data) {
  if (data.size() < sizeof(std::uint32_t)) return nullptr;
  const auto* const row =
      std::ranges::find(kinds, protocol::load_le<std::uint32_t>(data), &kind_row::kind);
  return row == std::end(kinds) ? nullptr : row;
}

std::string name_of(byte_view data) {
  const kind_row* const kind = find_kind(data);
  if (kind == nullptr) return "common request of unknown kind";
  const auto message = parse_message(data);
  if (kind->answer != answer_message || !message) return kind->name;
  const common_row* const row = find_message(message->number);
  return fmt::format("common message {}{}{}", message->number, row == nullptr ? "" : ", ",
                     row == nullptr ? "" : row->name);
}

}  // namespace

extension_response answer_common(const extension_call& call) {
  const kind_row* const row = find_kind(call.data);
  return row == nullptr ? extension_response{} : row->answer(call);
}

std::string describe_common_request(byte_view data) {
  std::string words = name_of(data);
  const auto message = parse_message(data);
  const kind_row* const kind = find_kind(data);
  if (!message || kind == nullptr || kind->answer != answer_message) return words;
  const std::size_t size = std::min<std::size_t>(message->length, message->payload.size());
  const arguments in{message->payload.first(size)};
  constexpr std::size_t shown = 8;
  for (std::size_t i = 0; i < std::min(in.count(), shown); ++i) {
    words += fmt::format("{} {}", i == 0 ? ":" : ",", static_cast<std::int32_t>(in[i]));
  }
  return words;
}

std::string describe_common_answer(byte_view request, byte_view answer) {
  if (answer.size() < value_length_at + sizeof(std::uint32_t)) return {};
  const auto result =
      static_cast<outcome>(protocol::load_le<std::uint32_t>(answer.subspan(result_at)));
  std::string words = fmt::format("{}: {} ({})", name_of(request),
                                  static_cast<std::int32_t>(result), words_of(result));
  const auto value_length = protocol::load_le<std::uint32_t>(answer.subspan(value_length_at));
  if (find_kind(request)->answer == answer_message && value_length != 0) {
    words += fmt::format(", value {}", protocol::load_le<std::uint32_t>(answer.subspan(value_at)));
  }
  return words;
}

}  // namespace sim
