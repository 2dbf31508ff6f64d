// Formats of records. A writer turns records into text, chunk by chunk, on any thread; a store
// takes the texts of chunks in order.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "decode/output/text_buffer.h"
#include "modem_stats/packet.h"
#include "modem_stats/record_schema.h"

namespace decode {

/// The packet that a record is made of.
struct packet_source {
  modem_stats::packet_kind kind;
  std::uint16_t id;     // log code or event id
  std::uint32_t radio;  // 1 is the first
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

  /// A parser's line or lines, each with its newline.
  virtual void lines(const packet_source& /*source*/, std::string_view /*text*/) {}

  /// Hands the text so far to the store this writer is of, and begins anew.
  virtual void flush() = 0;
  /// Forgets the text so far.
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
  /// Its writers want the parsers' lines.
  [[nodiscard]] virtual bool wants_lines() const { return false; }

 protected:
  record_store() = default;
};

/// Writing failed; told in words for a person.
class output_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One object a line.
[[nodiscard]] std::unique_ptr<record_store> json_lines_store(file_output& to, bool with_raw_bytes);
/// A file for each kind of record in `directory`, which is made when missing. Throws output_error
/// when one of these files is among `inputs`.
[[nodiscard]] std::unique_ptr<record_store> csv_store(const std::string& directory,
                                                      bool with_raw_bytes, const file_set& inputs);
/// The parsers' own lines.
[[nodiscard]] std::unique_ptr<record_store> text_store(file_output& to, bool with_time);
/// Nothing.
[[nodiscard]] std::unique_ptr<record_store> no_store();

}  // namespace decode
