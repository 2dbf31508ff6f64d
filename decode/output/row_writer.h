// Formats in which a record is a row: of a file for all kinds of records, or of its kind's table.
#pragma once

#include <memory>
#include <string>

#include "decode/output/numbered_text.h"
#include "decode/output/record_output.h"

namespace decode {

class row_writer {
 public:
  row_writer(const row_writer&) = delete;
  row_writer& operator=(const row_writer&) = delete;
  virtual ~row_writer() = default;

  virtual void write(numbered_text& to, const packet_source& source,
                     const modem_stats::record_schema& schema,
                     const modem_stats::record_data& data) = 0;

 protected:
  row_writer() = default;
};

/// A format of tables.
struct row_format {
  const char* extension;  // of their files
  /// The text with which a table begins.
  std::string (*header)(const modem_stats::record_schema& schema, bool with_raw_bytes);
  /// `file` is the capture that the rows name.
  std::unique_ptr<row_writer> (*make_writer)(const std::string& file, bool with_raw_bytes);
};

}  // namespace decode
