// Every parser, over payloads of its own length and over the sliding window. The input's first
// bytes choose the packet: kind, and which of the codes that have a parser.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "modem_stats/dispatch.h"

namespace {

using namespace modem_stats;

/// Reads every field, as those who export records do.
class reader final : public record_sink, public line_sink {
 public:
  void write(std::string_view text) override {
    if (text.empty() || text.back() != '\n') std::abort();
  }

  void record(const record_schema& schema, const record_data& data) override {
    auto rest = data.bytes;
    for (const auto& part : schema.parts()) {
      const auto count = part.repeated() ? repetitions(schema, part, data.bytes) : 1;
      for (std::size_t i = 0; i < count; ++i) {
        for (const auto& row : part.rows) {
          if (rest.size() < size_of(row.type)) std::abort();
          (void)load_field(row, rest);
          rest = rest.subspan(size_of(row.type));
        }
      }
    }
    // The rows account for every byte.
    std::size_t beside = 0;
    for (const auto& row : schema.beside.rows) beside += size_of(row.type);
    if (!rest.empty() || data.beside.size() != beside) std::abort();
  }
};

/// The ids that have a parser.
std::vector<std::uint16_t> known(packet_kind kind) {
  std::vector<std::uint16_t> ids;
  for (unsigned id = 0; id <= 0xFFFF; ++id) {
    if (has_parser(kind, static_cast<std::uint16_t>(id))) {
      ids.push_back(static_cast<std::uint16_t>(id));
    }
  }
  return ids;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t head = 3;
  if (size < head) return 0;
  const bool is_log = (data[0] & 1) != 0;
  const auto kind = is_log ? packet_kind::log : packet_kind::event;
  static const std::vector<std::uint16_t> ids[] = {known(packet_kind::log),
                                                   known(packet_kind::event)};
  const auto& of_kind = ids[static_cast<std::size_t>(kind)];
  const auto id = of_kind[data[1] % of_kind.size()];
  // A block of exactly this size: reading behind it is found.
  std::vector<std::uint8_t> payload(data + head, data + size);

  if ((data[0] & 8) != 0) {
    payload.resize(std::min<std::size_t>(payload.size(), 255));
    const auto process =
        is_log ? modem_stats_diag_process_log_ex : modem_stats_diag_process_event_ex;
    process(data[2], id, static_cast<unsigned char>(payload.size()), payload.data());
    return 0;
  }
  reader all;
  stream_state state;
  decode_packet({kind, id, data[2], payload},
                {.lines = (data[0] & 2) != 0 ? &all : nullptr,
                 .records = (data[0] & 4) != 0 ? &all : nullptr},
                state, (data[0] & 16) != 0 ? version_set::all : version_set::product);
  return 0;
}
