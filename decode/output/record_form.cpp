#include "decode/output/record_form.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "modem_stats/digits.h"

namespace decode {

using modem_stats::record_data;
using modem_stats::record_part;
using modem_stats::record_schema;

namespace {

using modem_stats::field_type;

/// Keys are copied in blocks of this size, which is faster than copying just as much as there is.
constexpr std::size_t block = 32;

char* put_padded(char* out, const char* text, std::size_t size) {
  std::memcpy(out, text, block);
  if (size > block) std::memcpy(out + block, text + block, size - block);
  return out + size;
}

template <typename T>
T load(const std::uint8_t* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

std::string key(std::string_view before, const value_style& style, std::string_view name) {
  return fmt::format("{}{}{}{}:", before, style.quote, name, style.quote);
}

}  // namespace

record_form::record_form(const record_schema& schema, const record_style& style)
    : schema_(&schema),
      array_end_(fmt::format("]{}", style.array_quote)),
      beside_(form_of(schema.beside, style)) {
  for (const auto& part : schema.parts()) parts_.push_back(form_of(part, style));
}

record_form::part_form record_form::form_of(const record_part& part, const record_style& style) {
  part_form form{.part = &part, .style = style.values, .array = {}, .columns = {}};
  if (part.repeated()) {
    form.style = style.in_arrays;
    form.array = fmt::format("{}{}[", style.names ? key(",", style.values, part.name) : ",",
                             style.array_quote);
  }
  for (const auto& column : modem_stats::columns_of(part)) {
    const std::string_view before = part.repeated() && form.columns.empty() ? "{" : ",";
    auto text =
        part.repeated() || style.names ? key(before, form.style, column.name) : std::string(before);
    const auto size = text.size();
    text.append(block, ' ');
    form.max_text += size + max_value_size;
    form.columns.push_back({std::move(text), size, kind_of(column), column});
  }
  form.max_text += 2 + block;  // "}" and ","
  for (const auto& row : part.rows) form.bytes += modem_stats::size_of(row.type);
  return form;
}

record_form::value_kind record_form::kind_of(const modem_stats::column& column) {
  const auto& field = *column.field;
  const auto stored_as_shown = field.type == field_type::float32 ? modem_stats::value_type::number
                                                                 : modem_stats::value_type::integer;
  if (column.means != nullptr || column.type != stored_as_shown) return value_kind::other;
  switch (field.type) {
    case field_type::uint8:
      return value_kind::uint8;
    case field_type::uint16:
      return value_kind::uint16;
    case field_type::uint32:
      return value_kind::uint32;
    case field_type::int8:
      return value_kind::int8;
    case field_type::int16:
      return value_kind::int16;
    case field_type::int32:
      return value_kind::int32;
    case field_type::float32:
      return value_kind::real;
    case field_type::uint64:
      break;
  }
  return value_kind::other;
}

char* record_form::write_columns(char* out, const part_form& form, const std::uint8_t* part,
                                 const std::uint8_t* record) {
  for (const auto& one : form.columns) {
    out = put_padded(out, one.key.data(), one.key_size);
    if (one.kind == value_kind::other) {
      out = write_value(out, one.column, part, record, form.style);
      continue;
    }
    if (one.column.is_null(part)) {
      out = std::copy(form.style.null.begin(), form.style.null.end(), out);
      continue;
    }
    const std::uint8_t* const bytes = part + one.column.byte;
    switch (one.kind) {
      case value_kind::uint8:
        out = modem_stats::write_unsigned(out, *bytes);
        break;
      case value_kind::uint16:
        out = modem_stats::write_unsigned(out, load<std::uint16_t>(bytes));
        break;
      case value_kind::uint32:
        out = modem_stats::write_unsigned(out, load<std::uint32_t>(bytes));
        break;
      case value_kind::int8:
        out = modem_stats::write_signed(out, load<std::int8_t>(bytes));
        break;
      case value_kind::int16:
        out = modem_stats::write_signed(out, load<std::int16_t>(bytes));
        break;
      case value_kind::int32:
        out = modem_stats::write_signed(out, load<std::int32_t>(bytes));
        break;
      case value_kind::real:
        out = write_real(out, load<float>(bytes), form.style);
        break;
      case value_kind::other:
        break;
    }
  }
  return out;
}

void record_form::write_array(text_buffer& to, const part_form& form, std::size_t count,
                              const std::uint8_t* part, const std::uint8_t* record) const {
  to.append(form.array);
  for (std::size_t i = 0; i < count; ++i, part += form.bytes) {
    char* out = to.room(form.max_text);
    if (i > 0) *out++ = ',';
    out = write_columns(out, form, part, record);
    *out++ = '}';
    to.commit(out);
  }
  to.append(array_end_);
}

void record_form::write(text_buffer& to, const record_data& data) const {
  const std::uint8_t* const record = data.bytes.data();
  const std::uint8_t* at = record;
  for (const auto& form : parts_) {
    if (form.part->repeated()) {
      const auto count = modem_stats::repetitions(*schema_, *form.part, data.bytes);
      write_array(to, form, count, at, record);
      at += count * form.bytes;
    } else {
      to.commit(write_columns(to.room(form.max_text), form, at, record));
      at += form.bytes;
    }
  }
  to.commit(write_columns(to.room(beside_.max_text), beside_, data.beside.data(), record));
}

}  // namespace decode
