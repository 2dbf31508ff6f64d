// The columns that say where a record is from, the same in JSON and CSV and in every run.
#pragma once

#include <string>
#include <string_view>

#include "decode/output/numbered_text.h"
#include "decode/output/record_output.h"
#include "decode/output/time_text.h"
#include "modem_stats/columns.h"

namespace decode {

struct identity_column {
  const char* name;
  modem_stats::value_type type;
  const char* about;
};
inline constexpr const char* time_column = "time";
inline constexpr identity_column identity_columns[] = {
    {time_column, modem_stats::value_type::text, "of the packet, in UTC"},
    {"radio", modem_stats::value_type::integer, "of the packet, from 1"},
    {"source", modem_stats::value_type::text, "code of the log, or event and its id"},
    {"data_id", modem_stats::value_type::integer, "kind of record"},
    {"file", modem_stats::value_type::text, "the capture as it was named, or the live port"},
    {"packet", modem_stats::value_type::integer, "number in the file or connection, from 0"},
};

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
