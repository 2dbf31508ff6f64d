// The columns that say where a record is from, the same in JSON and CSV and in every run:
//
//   time     of the packet, in UTC
//   radio    counted from 1
//   source   "0xB193" or "event 1606"
//   data_id  the kind of record
//   file     the capture as it was named, or the live port
//   packet   number of the packet in its capture or connection, from 0
#pragma once

#include <string>
#include <string_view>

#include "decode/output/numbered_text.h"
#include "decode/output/record_output.h"
#include "decode/output/time_text.h"

namespace decode {

/// The text in a JSON string, between the quotes. Bytes that are not UTF-8 are replaced.
[[nodiscard]] std::string json_text(std::string_view text);
/// The text as a field of a CSV row. Bytes that are not UTF-8 are replaced.
[[nodiscard]] std::string csv_text(std::string_view text);

class identity_writer {
 public:
  /// What is written before each column, and before the data id.
  struct form {
    std::string_view time, radio, source, source_end;
  };

  /// `file` is all that stands between data id and packet number.
  identity_writer(const form& how, std::string file) : form_(how), file_(std::move(file)) {}

  /// `data_id` is written as it is.
  void write(numbered_text& to, const packet_source& source, std::string_view data_id);

 private:
  const form form_;
  const std::string file_;
  time_writer times_;
};

}  // namespace decode
