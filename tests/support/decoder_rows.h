// Packets with what their decoders must print and record.
#pragma once

#include <span>

#include "support/decoded.h"
#include "support/test.h"

namespace support {

struct decoder_row {
  std::uint16_t id;     // log code, or event id if below 4096
  std::string payload;  // as hex() takes it
  std::string lines;
  std::string records = {};  // one after the other; blanks do not count
};

inline void expect_records(const decoded& got, std::string expected) {
  std::string records;
  for (const auto& one : got.records) records += one;
  std::erase(expected, ' ');
  EXPECT_EQ(records, expected) << got.lines;
}

inline void expect_made(const decoded& got, const decoder_row& row) {
  EXPECT_EQ(got.lines, row.lines) << row.payload;
  expect_records(got, row.records);
}

inline void expect_decoded(const decoder_row& row) {
  expect_made(
      row.id < 4096 ? decoded::event(row.id, row.payload) : decoded::log(row.id, row.payload), row);
}
inline void expect_decoded(std::span<const decoder_row> rows) {
  for (const auto& row : rows) expect_decoded(row);
}

/// However short, it is refused for what it lacks, unless it lacks nothing that is read.
inline void expect_cut_is_refused(const decoder_row& row) {
  for (auto payload = hex(row.payload); !payload.empty();) {
    payload.pop_back();
    const auto got = decoded::log(row.id, payload);
    if (got.lines == row.lines) {
      expect_made(got, row);
      continue;
    }
    EXPECT_TRUE(got.records.empty()) << payload.size() << " bytes of " << row.payload;
    const auto last_line = got.lines.rfind('\n', got.lines.size() - 2) + 1;
    EXPECT_EQ(got.lines.find("g_pk_data_left("), last_line) << got.lines;
  }
}

/// The line of a packet that ends before `field`, of which `left` bytes are there.
inline std::string missing(const std::string& field, int left, const std::string& id) {
  return "g_pk_data_left(" + std::to_string(left) + ") is not enough for " + field + ", id(0x" +
         id + ")\n";
}

}  // namespace support
