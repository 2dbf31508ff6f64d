#include "decode/output/record_form.h"

#include <fmt/format.h>

#include <algorithm>

namespace decode {

using modem_stats::record_data;
using modem_stats::record_part;
using modem_stats::record_schema;

namespace {

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
    form.columns.push_back({part.repeated() || style.names ? key(before, form.style, column.name)
                                                           : std::string(before),
                            column});
    form.max_text += form.columns.back().key.size() + max_value_size;
  }
  form.max_text += 2;  // "}" and ","
  for (const auto& row : part.rows) form.bytes += modem_stats::size_of(row.type);
  return form;
}

char* record_form::write_columns(char* out, const part_form& form, const std::uint8_t* part,
                                 const std::uint8_t* record) {
  for (const auto& one : form.columns) {
    out = std::copy(one.key.begin(), one.key.end(), out);
    out = write_value(out, one.column, part, record, form.style);
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
