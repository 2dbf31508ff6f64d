// Output formats. A writer turns the records of a chunk into text, on any thread; a store receives
// the texts of the chunks in order.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "decode/output/text_buffer.h"
#include "decode/signalling/message.h"
#include "decode/stream.h"
#include "modem_stats/packet.h"
#include "modem_stats/record_schema.h"

namespace decode {

/// The packet from which a record was decoded.
struct packet_source {
  modem_stats::packet_kind kind;
  std::uint16_t id;      // log code or event id
  std::uint32_t radio;   // counted from 1
  std::int64_t time;     // microseconds, Unix
  std::uint64_t packet;  // number of the packet in its capture or connection, from 0
};

class file_output;
class file_set;
class record_store;
struct row_format;
struct summary;
struct table_place;

class record_writer {
 public:
  record_writer(const record_writer&) = delete;
  record_writer& operator=(const record_writer&) = delete;
  virtual ~record_writer() = default;

  virtual void record(const packet_source& source, const modem_stats::record_schema& schema,
                      const modem_stats::record_data& data) = 0;

  /// A line from a parser, with its newline.
  virtual void line(const packet_source& /*source*/, std::string_view /*text*/) {}
  /// The same, with the running count of rejections from `count_at` on.
  virtual void counted_line(const packet_source& /*source*/, std::string_view /*text*/,
                            std::size_t /*count_at*/) {}

  /// A signalling message, valid during the call.
  virtual void message(const packet_source& /*source*/, const signalling::message& /*one*/) {}

  /// Passes the text so far to the writer's store and starts over. `late` is to be added to its
  /// running counts, which were only guessed when the text was made.
  virtual void flush(const running_counts& late) = 0;
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

  /// `file` is the capture whose packets it will get, or the live port.
  [[nodiscard]] virtual std::unique_ptr<record_writer> make_writer(const std::string& file) = 0;
  /// Whether its writers use the parsers' lines.
  [[nodiscard]] virtual bool wants_lines() const { return false; }
  /// Writes what the output has without records too. Called at the latest when a packet was found.
  virtual void start() {}
  /// The live port is open, for the first time or again, or it is lost.
  virtual void port_changed(bool /*is_open*/) {}
  /// The run is over, and nothing went wrong in writing. Throws output_error.
  virtual void finish(const summary& /*counts*/) {}

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
/// Columns are named by field and unit; a repeated part is one column that holds a JSON array.
/// Values that were not measured are empty.
extern const row_format csv_rows;
/// An object per row. Values that were not measured are null.
extern const row_format json_rows;
/// A table for each kind of record.
[[nodiscard]] std::unique_ptr<record_store> table_store(const row_format& form, bool with_raw_bytes,
                                                        const table_place& place,
                                                        const file_set& inputs);
/// The parsers' own lines.
[[nodiscard]] std::unique_ptr<record_store> text_store(file_output& to, bool with_time);
/// Signalling messages as pcapng, with the records between them as comments if asked for.
[[nodiscard]] std::unique_ptr<record_store> pcap_store(file_output& to, bool with_records);
/// No output.
[[nodiscard]] std::unique_ptr<record_store> no_store();

}  // namespace decode
