// The schema of a record: rows that name every field. Parsers write records from them, and all
// consumers read records by them. Parsers pass values by name; the compiler looks up the offsets:
//
//   inline constexpr auto csf_fields =
//       fields(field<u8>{"version", packet_version}, field<u8>{"rank_idx", rank_index}, ...);
//   inline constexpr fixed_record<csf_fields> csf_record{84, "lte_pusch_csf"};
//   ...
//   in.publish(csf_record, "version"_f = version, "rank_idx"_f = rank_idx, ...);
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

#include "modem_stats/quantity.h"
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

/// When a field was not measured: when the field `of`, seen through `mask`, has one of `values`.
struct null_rule {
  static constexpr std::size_t max_values = 3;

  const char* of = nullptr;  // a field of the same part; null: the field itself
  u32 mask = 0;              // 0: always measured
  std::array<u32, max_values> values{};
  bool otherwise = false;   // when it has none of them
  bool upper_half = false;  // `mask` is for the upper four bytes
};

inline constexpr null_rule always_measured{};

/// When the field has one of these values.
template <typename... T>
[[nodiscard]] consteval null_rule null_if(T... values) {
  static_assert(sizeof...(T) > 0 && sizeof...(T) <= null_rule::max_values);
  const auto bits_of = [](auto value) {
    if constexpr (std::is_same_v<decltype(value), f32>) {
      return std::bit_cast<u32>(value);
    } else {
      return static_cast<u32>(value);
    }
  };
  null_rule rule{.mask = UINT32_MAX};
  std::size_t i = 0;
  ((rule.values[i++] = bits_of(values)), ...);
  while (i < rule.values.size()) {
    rule.values[i] = rule.values[i - 1];
    ++i;
  }
  return rule;
}
/// When another field has this value.
[[nodiscard]] consteval null_rule null_if_other(const char* of, int value) {
  null_rule rule = null_if(value);
  rule.of = of;
  return rule;
}
/// When this bit of another field is clear.
[[nodiscard]] consteval null_rule null_unless_bit(const char* of, unsigned bit) {
  return {.of = of, .mask = u32{1} << bit};
}
/// When a field of 64 bits needs more bits than these, of which there are at least 32.
[[nodiscard]] consteval null_rule null_beyond_bits(unsigned bits) {
  return {.mask = ~((u32{1} << (bits - 32)) - 1), .otherwise = true, .upper_half = true};
}

/// A field as declared.
template <typename T>
struct field {
  const char* name;  // in the texts of decoders and readers
  const quantity& of;
  null_rule null = always_measured;
  u8 decimals = 0;  // the record holds the value without the decimal point
};

/// A field as consumers see it.
struct field_row {
  const char* name;
  const quantity* of;
  field_type type;
  null_rule null;
  u8 decimals;
};

/// Fields in record order.
template <std::size_t n>
struct field_list {
  std::array<field_row, n> rows;

  /// The offset of row `index` in bytes; the total size for an index past the end.
  [[nodiscard]] constexpr std::size_t offset(std::size_t index) const {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < index; ++i) bytes += size_of(rows[i].type);
    return bytes;
  }
  /// Returns the number of rows if none has this name.
  [[nodiscard]] constexpr std::size_t index_of(std::string_view name) const {
    std::size_t index = 0;
    while (index < n && name != rows[index].name) ++index;
    return index;
  }
};

template <typename... T>
[[nodiscard]] consteval field_list<sizeof...(T)> fields(field<T>... list) {
  const field_list<sizeof...(T)> all{
      {field_row{list.name, &list.of, type_of<T>, list.null, list.decimals}...}};
  for (std::size_t i = 0; i < sizeof...(T); ++i) {
    const auto& row = all.rows[i];
    if (all.index_of(row.name) != i) throw "two fields of one name";
    if (row.null.mask == 0) continue;
    if (row.null.of != nullptr && all.index_of(row.null.of) == sizeof...(T)) {
      throw "no such field in a null rule";
    }
    if (all.offset(sizeof...(T)) < sizeof(u32)) throw "a null rule needs a part of four bytes";
  }
  return all;
}

inline constexpr field_list<0> no_fields{};

template <std::size_t n, std::size_t m>
[[nodiscard]] consteval field_list<n + m> joined(const field_list<n>& first,
                                                 const field_list<m>& second) {
  field_list<n + m> all{};
  std::copy(second.rows.begin(), second.rows.end(),
            std::copy(first.rows.begin(), first.rows.end(), all.rows.begin()));
  return all;
}

template <std::size_t n>
struct field_name {
  char text[n];

  // NOLINTNEXTLINE(google-explicit-constructor): stands for the literal.
  consteval field_name(const char (&literal)[n]) { std::copy_n(literal, n, text); }
};

/// The value of a field, "NAME"_f = VALUE.
template <field_name field, typename T>
struct named_value {
  static constexpr std::string_view name = field.text;
  static constexpr field_type type = type_of<T>;
  T value;
};

template <field_name field>
struct value_name {
  template <typename T>
  // NOLINTNEXTLINE(misc-unconventional-assign-operator): reads as in a designated initializer.
  constexpr named_value<field, T> operator=(T value) const {
    return {value};
  }
};

template <field_name field>
constexpr value_name<field> operator""_f() {
  return {};
}

/// The values cover every field of `list` exactly once, each with the field's own type.
template <const auto& list, typename... Value>
concept fields_of = sizeof...(Value) == list.rows.size() && [] {
  std::array<bool, list.rows.size()> given{};
  for (const auto& [index, type] : {std::pair(list.index_of(Value::name), Value::type)...}) {
    if (index == given.size() || given[index] || list.rows[index].type != type) return false;
    given[index] = true;
  }
  return true;
}();

/// The byte offset of a value in a record of `list`.
template <const auto& list, typename Value>
inline constexpr std::size_t place_of = list.offset(list.index_of(Value::name));

/// The bytes of a record of `list`; the order of the values does not matter.
template <const auto& list, typename... Value>
requires fields_of<list, Value...>
[[nodiscard]] auto packed(Value... values) {
  std::array<u8, list.offset(list.rows.size())> bytes;
  (std::memcpy(bytes.data() + place_of<list, Value>, &values.value, size_of(Value::type)), ...);
  return bytes;
}

/// A group of fields in a record, either single or repeated according to counts in the first part.
struct record_part {
  std::span<const field_row> rows;
  const char* name = "";       // for repeated parts, such as "carriers"
  const char* counts[2] = {};  // fields of the first part whose sum is the number of repetitions

  [[nodiscard]] constexpr bool repeated() const { return counts[0] != nullptr; }
};

/// Bytes of one repetition.
[[nodiscard]] constexpr std::size_t size_of(const record_part& part) {
  std::size_t bytes = 0;
  for (const auto& row : part.rows) bytes += size_of(row.type);
  return bytes;
}

struct record_schema {
  static constexpr std::size_t max_parts = 4;

  modem_stats_data_id_e_type id;
  const char* name;
  std::array<record_part, max_parts> all_parts{};
  std::size_t num_parts = 0;
  record_part beside{};  // of values that only the packet has; may have no rows

  [[nodiscard]] constexpr std::span<const record_part> parts() const {
    return std::span(all_parts).first(num_parts);
  }
};

/// The bytes of a record, and those of what the packet says beside it.
struct record_data {
  std::span<const u8> bytes;
  std::span<const u8> beside;
};

/// A record that always has the same fields. Tables have those of `beside_list` as well, which
/// other consumers of the record do not get.
template <const auto& list, const auto& beside_list = no_fields>
struct fixed_record : record_schema {
  /// Both lists, as the values are published.
  static constexpr auto published = joined(list, beside_list);

  constexpr fixed_record(std::uint32_t data_id, const char* record_name)
      : record_schema{modem_stats_data_id_e_type{data_id},
                      record_name,
                      {record_part{list.rows}},
                      1,
                      record_part{beside_list.rows}} {}
};

/// A record with repeated parts; the first part holds their counts.
template <typename... Part>
[[nodiscard]] consteval record_schema record_of_parts(std::uint32_t data_id, const char* name,
                                                      record_part first, Part... parts) {
  const auto is_counted = [&](const record_part& part) {
    return std::ranges::all_of(part.counts, [&](const char* count) {
      return count == nullptr || std::ranges::any_of(first.rows, [&](const field_row& row) {
               return std::string_view(row.name) == count;
             });
    });
  };
  if (first.repeated() || !(is_counted(parts) && ...)) throw "a part has no count";
  return {modem_stats_data_id_e_type{data_id}, name, {first, parts...}, 1 + sizeof...(parts), {}};
}

/// The value of a field, read from the start of `bytes`, which must be long enough.
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

}  // namespace modem_stats
