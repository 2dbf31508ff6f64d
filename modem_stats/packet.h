// A packet to decode, where its lines and records go, and the outcome of decoding it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "modem_stats/record_schema.h"

namespace modem_stats {

enum class packet_kind : std::uint8_t { log, event };

struct packet {
  packet_kind kind;
  std::uint16_t id;  // log code or event id
  int sub_id;        // subscription, from 0
  std::span<const std::uint8_t> payload;
};

/// Receives the decoders' lines, one at a time, each with its newline.
class line_sink {
 public:
  virtual void write(std::string_view text) = 0;
  /// A line that shows the running count of rejected versions, whose digits begin at `count_at`.
  virtual void write_counted(std::string_view text, std::size_t /*count_at*/) { write(text); }

 protected:
  ~line_sink() = default;
};

/// Receives every record as bytes that are valid during the call.
class record_sink {
 public:
  virtual void record(const record_schema& schema, const record_data& data) = 0;

 protected:
  ~record_sink() = default;
};

/// Where lines and records go; null discards them.
struct packet_sinks {
  line_sink* lines = nullptr;
  record_sink* records = nullptr;
};

/// What decoders remember from packet to packet.
struct stream_state {
  std::uint64_t versions_not_supported = 0;
  std::uint8_t lte_rrc_last_state = 0;
};

/// Where the layout of a version is from: one that the product's parsers have, a public
/// description, or real packets alone.
enum class origin : std::uint8_t { product, published, inferred };

/// Which versions are decoded.
enum class version_set : std::uint8_t {
  product,  // only those that the product's parsers have
  all,
};

/// Why a packet produced no record, or no more records.
enum class rejection : std::uint8_t {
  none,
  version,  // not supported
  value,    // not valid
  count,    // above the maximum
  length,   // the packet is too short
};

struct packet_outcome {
  rejection rejected = rejection::none;
  std::uint32_t version = 0;                   // of the packet; 0 where packets have none
  std::optional<std::uint32_t> sub_version{};  // of the rejected sub-packet, or else the first
};

}  // namespace modem_stats
