#include "decode/output/identity.h"

#include <algorithm>
#include <charconv>

#include <nlohmann/json.hpp>

namespace decode {

namespace {

char* put(char* out, std::string_view text) {
  return std::copy(text.begin(), text.end(), out);
}

}  // namespace

std::string json_text(std::string_view text) {
  const auto quoted =
      nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  return quoted.substr(1, quoted.size() - 2);
}

std::string csv_text(std::string_view text) {
  auto clean = nlohmann::json::parse('"' + json_text(text) + '"').get<std::string>();
  if (clean.find_first_of(",\"\r\n") == std::string::npos) return clean;
  std::string quoted = "\"";
  for (const char each : clean) {
    if (each == '"') quoted += '"';
    quoted += each;
  }
  return quoted + '"';
}

void identity_writer::write(numbered_text& to, const packet_source& source,
                            std::string_view data_id) {
  constexpr std::size_t fixed_text = 128;
  constexpr std::size_t number_size = numbered_text::max_number_size;
  char* out = to.text().room(fixed_text + data_id.size() + file_.size());
  out = put(out, form_.time);
  times_.write(source.time, out);
  out = put(out + time_text_size, form_.radio);
  out = std::to_chars(out, out + number_size, source.radio).ptr;
  out = put(out, form_.source);
  if (source.kind == modem_stats::packet_kind::log) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    out = put(out, "0x");
    for (const int shift : {12, 8, 4, 0}) *out++ = digits[source.id >> shift & 0x0F];
  } else {
    out = put(out, "event ");
    out = std::to_chars(out, out + number_size, source.id).ptr;
  }
  out = put(out, form_.source_end);
  out = put(out, data_id);
  out = put(out, file_);
  to.text().commit(to.write_number(out, source.packet));
}

}  // namespace decode
