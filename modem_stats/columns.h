// The columns of records in tables: one for each field, and one beside each code whose meaning is
// known. All that outputs need to write a value is worked out here once, from the rows.
#pragma once

#include <vector>

#include "modem_stats/record_schema.h"

namespace modem_stats {

/// A word of a part, seen through a mask, is one of these values.
struct null_test {
  std::size_t byte = 0;
  u32 mask = 0;  // 0: never null
  std::array<u32, null_rule::max_values> values{};
  bool otherwise = false;  // it is none of them

  [[nodiscard]] bool holds(const u8* part) const {
    if (mask == 0) return false;
    u32 word = 0;
    std::memcpy(&word, part + byte, sizeof word);
    word &= mask;
    const bool found = word == values[0] || word == values[1] || word == values[2];
    return found != otherwise;
  }
};

struct column {
  const char* name;
  const char* about;
  value_type type;
  unit in;
  bool nullable;

  const field_row* field;
  std::size_t byte;                // of the field in its part
  const meaning* means = nullptr;  // this column is the meaning of the field

  null_test null{};

  /// By its row. A float that is not a number is null as well.
  [[nodiscard]] bool is_null(const u8* part) const { return null.holds(part); }
};

[[nodiscard]] std::vector<column> columns_of(const record_part& part);

/// The text of the code `code` in a packet of this version; empty if it is not known.
[[nodiscard]] inline std::string_view text_of(const meaning& means, u64 code, u32 packet_version) {
  constexpr u32 version_3 = 0x30000;
  const auto texts = !means.texts_before_3.empty() && packet_version < version_3
                         ? means.texts_before_3
                         : means.texts;
  return code < texts.size() ? texts[code] : std::string_view();
}

/// The longest text of a version.
inline constexpr std::size_t max_version_size = 11;

/// Writes a version to `out`, and returns the end: from 65536 on the major version, a dot and the
/// minor version, 2.9; lower ones as they are, 36.
char* write_version(char* out, u32 version);

}  // namespace modem_stats
