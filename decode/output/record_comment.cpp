#include "decode/output/record_comment.h"

#include <array>

#include "decode/output/time_text.h"
#include "decode/output/value_text.h"

namespace decode {

namespace {

std::string fields_text(const modem_stats::record_part& part, const std::uint8_t*& bytes) {
  std::string text;
  for (const auto& row : part.rows) {
    std::array<char, max_value_size> value;
    const std::string_view written(value.data(), write_value(value.data(), row, bytes, ""));
    bytes += modem_stats::size_of(row.type);
    if (written.empty()) continue;
    if (!text.empty()) text += ", ";
    text.append(modem_stats::column_name(row)).append("=").append(written);
  }
  return text;
}

}  // namespace

std::string record_comment(const packet_source& source, const modem_stats::record_schema& schema,
                           std::string_view bytes) {
  const auto* at = reinterpret_cast<const std::uint8_t*>(bytes.data());
  const std::span data(at, bytes.size());
  std::string text = time_text(source.time) + " " + schema.name;
  std::string_view separator = ": ";
  for (const auto& part : schema.parts()) {
    text += separator;
    separator = ", ";
    if (!part.repeated()) {
      text += fields_text(part, at);
      continue;
    }
    text.append(part.name).append("=[");
    const auto count = modem_stats::repetitions(schema, part, data);
    for (std::size_t i = 0; i < count; ++i) {
      text.append(i == 0 ? "{" : ", {").append(fields_text(part, at)).append("}");
    }
    text += "]";
  }
  return text;
}

}  // namespace decode
