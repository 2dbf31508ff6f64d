#include "decode/output/record_text.h"

#include <array>

#include "decode/output/value_text.h"
#include "modem_stats/columns.h"

namespace decode {

namespace {

constexpr value_style words{"", ""};

void append(std::string& text, std::string_view separator, std::string_view more) {
  if (more.empty()) return;
  if (!text.empty()) text += separator;
  text += more;
}

std::string part_text(const modem_stats::record_part& part, const std::uint8_t* bytes,
                      const std::uint8_t* record) {
  std::string text;
  for (const auto& column : modem_stats::columns_of(part)) {
    std::array<char, max_value_size> value;
    const char* const end = write_value(value.data(), column, bytes, record, words);
    if (end == value.data()) continue;
    append(text, ", ", column.name);
    text.append("=").append(std::string_view(value.data(), end));
  }
  return text;
}

}  // namespace

std::string record_text(const modem_stats::record_schema& schema,
                        const modem_stats::record_data& data) {
  const std::uint8_t* const record = data.bytes.data();
  const std::uint8_t* at = record;
  std::string text;
  for (const auto& part : schema.parts()) {
    const auto size = modem_stats::size_of(part);
    if (!part.repeated()) {
      append(text, ", ", part_text(part, at, record));
      at += size;
      continue;
    }
    append(text, ", ", part.name);
    text += "=[";
    const auto count = modem_stats::repetitions(schema, part, data.bytes);
    for (std::size_t i = 0; i < count; ++i, at += size) {
      text.append(i == 0 ? "{" : ", {").append(part_text(part, at, record)).append("}");
    }
    text += "]";
  }
  append(text, ", ", part_text(schema.beside, data.beside.data(), record));
  return text;
}

}  // namespace decode
