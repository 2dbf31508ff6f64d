// Packets with what their decoders must print and record.
#pragma once

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

#include "support/decoded.h"

namespace support {

struct decoder_row {
  std::uint16_t id;     // log code, or event id if below 4096
  std::string payload;  // as hex() takes it
  std::string lines;
  std::string records = {};  // one after the other
};

inline std::string joined(const std::vector<std::string>& records) {
  std::string all;
  for (const auto& one : records) all += (all.empty() ? "" : " ") + one;
  return all;
}

inline void expect_decoded(std::span<const decoder_row> rows) {
  for (const auto& row : rows) {
    const auto got =
        row.id < 4096 ? decoded::event(row.id, row.payload) : decoded::log(row.id, row.payload);
    EXPECT_EQ(got.lines, row.lines) << row.id;
    EXPECT_EQ(joined(got.records), row.records) << row.lines;
  }
}

/// The line of a packet that ends before `field`, of which `left` bytes are there.
inline std::string missing(const std::string& field, int left, const std::string& id) {
  return "g_pk_data_left(" + std::to_string(left) + ") is not enough for " + field + ", id(0x" +
         id + ")\n";
}

}  // namespace support
