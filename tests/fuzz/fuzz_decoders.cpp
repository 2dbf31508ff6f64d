// Every parser, over payloads of its own length and over the sliding window. The input's first
// bytes choose the packet: kind, and which of the codes that have a parser.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "modem_stats/decoding_context.h"
#include "modem_stats/dispatch.h"
#include "modem_stats/dispatch_rows.h"
#include "modem_stats/record_table.h"

namespace {

using namespace modem_stats;

/// Reads every field, as those who export records do.
class reader final : public record_sink, public line_sink {
 public:
  void write(std::string_view text) override {
    if (text.empty() || text.back() != '\n') std::abort();
  }

  void record(const record_schema& schema, std::span<const std::uint8_t> data) override {
    auto rest = data;
    for (const auto& part : schema.parts()) {
      const auto count = part.repeated() ? repetitions(schema, part, data) : 1;
      for (std::size_t i = 0; i < count; ++i) {
        for (const auto& row : part.rows) {
          if (rest.size() < size_of(row.type)) std::abort();
          (void)load_field(row, rest);
          rest = rest.subspan(size_of(row.type));
        }
      }
    }
    // The rows account for every byte.
    if (!rest.empty()) std::abort();
  }
};

std::uint16_t choose(std::span<const dispatch_row> rows, std::uint8_t number) {
  return rows[number % rows.size()].id;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t head = 3;
  if (size < head) return 0;
  const bool is_log = (data[0] & 1) != 0;
  const auto id = is_log ? choose(log_rows, data[1]) : choose(event_rows, data[1]);
  // A block of exactly this size: reading behind it is found.
  std::vector<std::uint8_t> payload(data + head, data + size);

  reader all;
  auto& context = this_context();
  context.lines = (data[0] & 2) != 0 ? &all : nullptr;
  context.records = (data[0] & 4) != 0 ? &all : nullptr;
  if ((data[0] & 8) != 0) {
    payload.resize(std::min<std::size_t>(payload.size(), 255));
    const auto process =
        is_log ? modem_stats_diag_process_log_ex : modem_stats_diag_process_event_ex;
    process(data[2], id, static_cast<unsigned char>(payload.size()), payload.data());
    return 0;
  }
  const auto decoded =
      decode_packet(is_log ? packet_kind::log : packet_kind::event, data[2], id, payload);
  if (decoded.record != nullptr) {
    all.record(*find_record_schema(decoded.data_id),
               {decoded.record->data, decoded.record->data_len});
    modem_stats_free_single(decoded.record);
  }
  return 0;
}
