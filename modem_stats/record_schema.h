// What a record is made of: rows that name every field, from which parsers write records and
// everyone else reads them.
//
//   inline constexpr auto csf_fields = fields(field<u8>{"version"}, field<u8>{"rank_idx"}, ...);
//   inline constexpr fixed_record csf_record{MODEM_STATS_DATA_ID_..., "lte_pusch_csf", csf_fields};
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "modem_stats/record.h"

namespace modem_stats {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i8 = std::int8_t;
using i16 = std::int16_t;
using i32 = std::int32_t;
using f32 = float;

enum class field_type : std::uint8_t { uint8, uint16, uint32, uint64, int8, int16, int32, float32 };

/// Bytes of a field of this type.
[[nodiscard]] constexpr std::size_t size_of(field_type type) {
  constexpr std::size_t sizes[] = {1, 2, 4, 8, 1, 2, 4, 4};
  return sizes[static_cast<std::size_t>(type)];
}

template <typename T>
inline constexpr field_type type_of = [] {
  if constexpr (std::is_same_v<T, u8>) return field_type::uint8;
  if constexpr (std::is_same_v<T, u16>) return field_type::uint16;
  if constexpr (std::is_same_v<T, u32>) return field_type::uint32;
  if constexpr (std::is_same_v<T, u64>) return field_type::uint64;
  if constexpr (std::is_same_v<T, i8>) return field_type::int8;
  if constexpr (std::is_same_v<T, i16>) return field_type::int16;
  if constexpr (std::is_same_v<T, i32>) return field_type::int32;
  if constexpr (std::is_same_v<T, f32>) return field_type::float32;
}();

/// A field as parsers declare it; `unit` is empty for counts, identities and codes.
template <typename T>
struct field {
  const char* name;
  const char* unit = "";
};

/// A field as readers see it.
struct field_row {
  const char* name;
  const char* unit;
  field_type type;
};

/// Fields in record order; the types are those of the values that a parser must give.
template <typename... T>
struct field_list {
  std::array<field_row, sizeof...(T)> rows;
};

template <typename... T>
[[nodiscard]] consteval field_list<T...> fields(field<T>... list) {
  return {{field_row{list.name, list.unit, type_of<T>}...}};
}

/// A run of fields in a record, once or as often as counts in the record's first part say.
struct record_part {
  std::span<const field_row> rows;
  const char* name = "";       // of a repeated part: "carriers"
  const char* counts[2] = {};  // fields of the first part whose sum is the number of repetitions

  [[nodiscard]] constexpr bool repeated() const { return counts[0] != nullptr; }
};

struct record_schema {
  static constexpr std::size_t max_parts = 4;

  modem_stats_data_id_e_type id;
  const char* name;
  std::array<record_part, max_parts> all_parts{};
  std::size_t num_parts = 0;

  [[nodiscard]] constexpr std::span<const record_part> parts() const {
    return std::span(all_parts).first(num_parts);
  }
};

/// A record whose every packet has the same fields.
template <typename... T>
struct fixed_record : record_schema {
  constexpr fixed_record(modem_stats_data_id_e_type record_id, const char* record_name,
                         const field_list<T...>& list)
      : record_schema{record_id, record_name, {record_part{list.rows}}, 1} {}
};

/// A record with repeated parts; the first part holds their counts.
template <typename... Part>
[[nodiscard]] consteval record_schema record_of_parts(modem_stats_data_id_e_type id,
                                                      const char* name, Part... parts) {
  return {id, name, {parts...}, sizeof...(parts)};
}

/// The number `row` denotes at the front of `bytes`, which must hold it.
struct field_value {
  field_type type;
  union {
    u64 unsigned_number;
    std::int64_t signed_number;
    f32 real;
  };
};
[[nodiscard]] field_value load_field(const field_row& row, std::span<const u8> bytes);

/// How often `part`, a repeated part of `schema`, occurs in the record `data`.
[[nodiscard]] std::size_t repetitions(const record_schema& schema, const record_part& part,
                                      std::span<const u8> data);

/// What a table calls the field: its name and unit.
[[nodiscard]] std::string column_name(const field_row& row);

}  // namespace modem_stats
