// Output formats. A writer turns the records of a chunk into text, on any thread; a store receives
// the texts of the chunks in order.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "decode/output/text_buffer.h"
#include "decode/signalling/message.h"
#include "modem_stats/packet.h"
#include "modem_stats/record_schema.h"

namespace decode {

/// The packet from which a record was decoded.
struct packet_source {
  modem_stats::packet_kind kind;
  std::uint16_t id;     // log code or event id
  std::uint32_t radio;  // counted from 1
  std::int64_t time;    // microseconds, Unix
};

class file_output;
class file_set;
class record_store;

class record_writer {
 public:
  record_writer(const record_writer&) = delete;
  record_writer& operator=(const record_writer&) = delete;
  virtual ~record_writer() = default;

  virtual void record(const packet_source& source, const modem_stats::record_schema& schema,
                      std::span<const std::uint8_t> data) = 0;

  /// One or more lines from a parser, each with its newline.
  virtual void lines(const packet_source& /*source*/, std::string_view /*text*/) {}

  /// A signalling message, valid during the call.
  virtual void message(const packet_source& /*source*/, const signalling::message& /*one*/) {}

  /// Passes the text so far to the writer's store and starts over.
  virtual void flush() = 0;
  /// Discards the text so far.
  virtual void clear() = 0;

 protected:
  record_writer() = default;
};

class record_store {
 public:
  record_store(const record_store&) = delete;
  record_store& operator=(const record_store&) = delete;
  virtual ~record_store() = default;

  [[nodiscard]] virtual std::unique_ptr<record_writer> make_writer() = 0;
  /// Whether its writers use the parsers' lines.
  [[nodiscard]] virtual bool wants_lines() const { return false; }
  /// Writes what the output has without records too. Called at the latest when a packet was found.
  virtual void start() {}

 protected:
  record_store() = default;
};

/// Writing failed; the message is for the user.
class output_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One object per line.
[[nodiscard]] std::unique_ptr<record_store> json_lines_store(file_output& to, bool with_raw_bytes);
/// A file for each kind of record in `directory`, which is created if missing. Throws output_error
/// if one of these files is among `inputs`.
[[nodiscard]] std::unique_ptr<record_store> csv_store(const std::string& directory,
                                                      bool with_raw_bytes, const file_set& inputs);
/// The parsers' own lines.
[[nodiscard]] std::unique_ptr<record_store> text_store(file_output& to, bool with_time);
/// Signalling messages as pcapng, with the records between them as comments if asked for.
[[nodiscard]] std::unique_ptr<record_store> pcap_store(file_output& to, bool with_records);
/// No output.
[[nodiscard]] std::unique_ptr<record_store> no_store();

}  // namespace decode
