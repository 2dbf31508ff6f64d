// What the decoders of one thread share: the packet being decoded, where lines and records go, and
// what is remembered from packet to packet.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "modem_stats/record_schema.h"

namespace modem_stats {

/// Receives the decoders' lines, each with its newline.
class line_sink {
 public:
  virtual void write(std::string_view text) = 0;

 protected:
  ~line_sink() = default;
};

/// Receives every record as bytes that are good during the call, instead of the out-slots.
class record_sink {
 public:
  virtual void record(const record_schema& schema, std::span<const std::uint8_t> data) = 0;

 protected:
  ~record_sink() = default;
};

/// Lines on standard output: the sink of a thread that has not chosen another.
[[nodiscard]] line_sink& standard_output();

/// How far reads may go.
enum class window_end : std::uint8_t {
  sliding,    // 2000 bytes from where the last bit-field ended; what is not there reads as zero
  of_packet,  // the last byte of the packet
};

/// Why a packet made no record, or no further one.
enum class rejection : std::uint8_t {
  none,
  version,  // not supported
  value,    // not valid
  count,    // more of something than there may be
  length,   // the packet ends too early
};

struct decoding_context {
  // Set by the dispatcher.
  std::uint32_t id = 0;  // log code or event id
  std::span<const std::uint8_t> payload;
  window_end end = window_end::sliding;

  // Told by the decoder.
  rejection rejected = rejection::none;
  std::uint32_t version = 0;      // of the packet; 0 where packets have none
  std::uint32_t sub_version = 0;  // of its first sub-packet

  // The caller's.
  line_sink* lines = &standard_output();  // null: no lines
  record_sink* records = nullptr;         // null: records go to the out-slots

  // From packet to packet.
  std::uint64_t versions_not_supported = 0;
  std::uint8_t lte_rrc_last_state = 0;
};

/// The calling thread's.
[[nodiscard]] decoding_context& this_context();

/// To the calling thread's line sink, as it stands.
void print_text(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace modem_stats
