#include "modem_stats/dispatch.h"

#include "modem_stats/decoding_context.h"
#include "modem_stats/dispatch_rows.h"

namespace modem_stats {

namespace {

template <std::size_t n>
const dispatch_row* find(const dispatch_row (&rows)[n], std::uint16_t id) {
  const auto* const row = std::lower_bound(
      std::begin(rows), std::end(rows), id,
      [](const dispatch_row& left, std::uint16_t right) { return left.id < right; });
  return row != std::end(rows) && row->id == id ? row : nullptr;
}

const dispatch_row* row_of(packet_kind kind, std::uint16_t id) {
  return kind == packet_kind::log ? find(log_rows, id) : find(event_rows, id);
}

decoded_packet decode(packet_kind kind, int sub_id, std::uint16_t id, int length,
                      std::span<const std::uint8_t> payload, window_end end) {
  auto& context = this_context();
  if (kind == packet_kind::log) {
    print_text("modem_stats_diag_process_log_ex: log_id 0x%x, length %d, sub_id = %d\n", id, length,
               sub_id);
  } else {
    print_text("modem_stats_diag_process_event_ex: event_id %d, length %d, sub_id = %d\n", id,
               length, sub_id);
  }
  decoded_packet decoded;
  if (payload.data() == nullptr) {
    print_text("MODEM_STATS_DATA_UNPK_START, payload is NULL, id(0x%x)\n", context.id);
    return decoded;
  }
  context.id = id;
  context.payload = payload;
  context.end = end;
  context.rejected = rejection::none;
  context.version = context.sub_version = 0;
  const dispatch_row* const row = row_of(kind, id);
  if (row != nullptr) row->parse(sub_id, &decoded.data_id, &decoded.record);
  return decoded;
}

}  // namespace

bool has_parser(packet_kind kind, std::uint16_t id) {
  return row_of(kind, id) != nullptr;
}

decoded_packet decode_packet(packet_kind kind, int sub_id, std::uint16_t id,
                             std::span<const std::uint8_t> payload) {
  return decode(kind, sub_id, id, static_cast<int>(payload.size()), payload, window_end::of_packet);
}

namespace {

// The record is dropped: this caller wants the lines.
void process(packet_kind kind, int sub_id, std::uint16_t id, unsigned char length,
             const unsigned char* payload) {
  const std::span<const std::uint8_t> bytes(payload, payload == nullptr ? 0U : length);
  modem_stats_free_single(decode(kind, sub_id, id, length, bytes, window_end::sliding).record);
}

}  // namespace

}  // namespace modem_stats

void modem_stats_diag_process_log_ex(int sub_id, unsigned short log_code, unsigned char length,
                                     unsigned char* payload) {
  modem_stats::process(modem_stats::packet_kind::log, sub_id, log_code, length, payload);
}

void modem_stats_diag_process_event_ex(int sub_id, unsigned short event_id, unsigned char length,
                                       unsigned char* payload) {
  modem_stats::process(modem_stats::packet_kind::event, sub_id, event_id, length, payload);
}
