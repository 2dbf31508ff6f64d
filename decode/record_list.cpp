#include "decode/record_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>

#include "modem_stats/columns.h"
#include "modem_stats/record_table.h"

namespace decode {

namespace {

using modem_stats::column;
using modem_stats::field_row;
using modem_stats::field_type;
using modem_stats::null_rule;
using modem_stats::record_part;

constexpr const char* stored_types[] = {"u8", "u16", "u32", "u64", "i8", "i16", "i32", "f32"};
constexpr const char* value_types[] = {"integer", "number", "text"};

const field_row& find(const record_part& part, std::string_view name) {
  return *std::ranges::find_if(part.rows, [&](const auto& row) { return row.name == name; });
}

/// Of a repeated part, whose counts are in `first`.
std::string heading(const record_part& part, const record_part& first) {
  const auto count = [&](std::size_t i) { return find(first, part.counts[i]).of->name; };
  std::string text = fmt::format("\n`{}`: an entry for each of `{}`", part.name, count(0));
  if (part.counts[1] != nullptr) text += fmt::format(" and `{}`", count(1));
  return text + "\n";
}

std::string value_text(field_type type, std::uint32_t bits) {
  switch (type) {
    case field_type::float32:
      return fmt::format("{:.2f}", std::bit_cast<float>(bits));
    case field_type::int8:
    case field_type::int16:
    case field_type::int32:
      return std::to_string(static_cast<std::int32_t>(bits));
    default:
      return std::to_string(bits);
  }
}

std::string values_text(const null_rule& rule, field_type type) {
  std::string text = value_text(type, rule.values[0]);
  for (std::size_t i = 1; i < rule.values.size(); ++i) {
    if (rule.values[i] != rule.values[i - 1]) text += ", " + value_text(type, rule.values[i]);
  }
  return text;
}

/// When the column is null.
std::string null_text(const record_part& part, const column& column) {
  const null_rule& rule = column.field->null;
  std::string text;
  if (rule.upper_half) {
    text = fmt::format("above {} bits", 32 + std::countr_zero(rule.mask));
  } else if (rule.of != nullptr && rule.mask != UINT32_MAX) {
    text = fmt::format("bit {} of `{}` is 0", std::countr_zero(rule.mask),
                       find(part, rule.of).of->name);
  } else if (rule.of != nullptr) {
    const auto& other = find(part, rule.of);
    text = fmt::format("`{}` is {}", other.of->name, values_text(rule, other.type));
  } else if (rule.mask != 0) {
    text = values_text(rule, column.field->type);
  }
  if (column.means == nullptr) return text;
  return text.empty() ? "not known" : text + "; not known";
}

std::string codes_text(std::span<const std::string_view> texts) {
  std::string text;
  for (std::size_t code = 0; code < texts.size(); ++code) {
    if (texts[code].empty()) continue;
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", code, texts[code]);
  }
  return text;
}

std::string about_text(const column& column) {
  if (column.means == nullptr) return column.about;
  const auto& means = *column.means;
  auto text = fmt::format("by `{}`: {}", column.field->of->name, codes_text(means.texts));
  if (means.texts_before_3.empty()) return text;
  return fmt::format("{}; before version 3.0: {}", text, codes_text(means.texts_before_3));
}

std::string stored_text(const column& column) {
  if (column.means != nullptr) return "";
  const auto& field = *column.field;
  const auto* const type = stored_types[static_cast<std::size_t>(field.type)];
  return fmt::format("`{}` {}{}", field.name, type, field.decimals == 1 ? ", tenths" : "");
}

void add_table(std::string& text, const record_part& part) {
  text += "\n| column | type | stored | null if | what |\n|---|---|---|---|---|\n";
  for (const auto& column : modem_stats::columns_of(part)) {
    text += fmt::format("| {} | {} | {} | {} | {} |\n", column.name,
                        value_types[static_cast<std::size_t>(column.type)], stored_text(column),
                        null_text(part, column), about_text(column));
  }
}

constexpr const char* introduction = R"(# Records

Made by `tvk-decode --list-records`. A column has the same name, type and unit in all records; how names
are made is in `names.md`. *Stored*: the field's name in the decoders' lines and its type in the record's
bytes, in which fields are packed in this order, little-endian. A text that is stored as a number is a
version, or the meaning of the code before it. *Null if*: what was not measured or not sent is null in JSON
and empty in CSV, namely when the stored value is one of these, or what is said there of another field; a
float that is not a number is null as well. *Beside the record*: columns that the packet has and the bytes
lack.
)";

}  // namespace

std::string record_list() {
  std::string text = introduction;
  for (const auto* const schema : modem_stats::record_table()) {
    text += fmt::format("\n## {} {}\n", static_cast<unsigned>(schema->id), schema->name);
    for (const auto& part : schema->parts()) {
      if (part.repeated()) text += heading(part, schema->parts().front());
      add_table(text, part);
    }
    if (schema->beside.rows.empty()) continue;
    text += "\nBeside the record:\n";
    add_table(text, schema->beside);
  }
  return text;
}

}  // namespace decode
