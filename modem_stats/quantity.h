// What the values of records are: a column has its name, unit, type and description from its
// quantity, whatever record it is in. The names follow docs/formats/names.md.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace modem_stats {

enum class unit : std::uint8_t { none, dbm, db, mhz, ms, bytes };

/// The end of the names of columns in this unit, after an underscore.
[[nodiscard]] constexpr std::string_view suffix_of(unit in) {
  constexpr std::string_view suffixes[] = {"", "dBm", "dB", "MHz", "ms", "bytes"};
  return suffixes[static_cast<std::size_t>(in)];
}

/// How a value appears in tables. A field that is text is a version (see version_text.h).
enum class value_type : std::uint8_t { integer, number, text };

/// A column beside one of codes, with what they mean. A code without a text has none.
struct meaning {
  const char* name;
  std::span<const std::string_view> texts;             // by code
  std::span<const std::string_view> texts_before_3{};  // of packets before version 3, if different
  value_type type = value_type::text;
  unit in = unit::none;
};

struct quantity {
  const char* name;
  const char* about;
  value_type type = value_type::integer;
  unit in = unit::none;
  const meaning* means = nullptr;
};

}  // namespace modem_stats
