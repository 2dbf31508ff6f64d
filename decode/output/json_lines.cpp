// JSON lines: {"time":"...Z","radio":1,"log":"0xB193","name":"...","data_id":82, then the fields,
// named with their units; repeated parts are arrays of objects}. Values that were not measured are
// null.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string>

#include "decode/output/file_output.h"
#include "decode/output/record_form.h"
#include "decode/output/record_output.h"
#include "decode/output/time_text.h"
#include "modem_stats/record_table.h"

namespace decode {

namespace {

using modem_stats::record_data;
using modem_stats::record_schema;

/// Everything that is the same in all records of a kind.
struct line_form {
  std::string name;  // "name":"...","data_id":82
  record_form fields;
};

/// By data id.
using form_table = std::array<std::optional<line_form>, 256>;

const form_table& forms() {
  static const form_table all = [] {
    form_table table;
    for (const auto* const schema : modem_stats::record_table()) {
      table.at(schema->id) = {fmt::format(",\"name\":\"{}\",\"data_id\":{}", schema->name,
                                          static_cast<unsigned>(schema->id)),
                              record_form(*schema, json_record)};
    }
    return table;
  }();
  return all;
}

char* put(char* out, std::string_view text) {
  return std::copy(text.begin(), text.end(), out);
}

class json_lines final : public record_writer {
 public:
  json_lines(file_output& to, bool with_raw_bytes) : to_(to), with_raw_bytes_(with_raw_bytes) {}

  void record(const packet_source& source, const record_schema& schema,
              const record_data& data) override;

  void flush() override {
    to_.write(text_.view());
    clear();
  }
  void clear() override { text_.clear(); }

 private:
  void begin(const packet_source& source, std::string_view name);

  file_output& to_;
  const bool with_raw_bytes_;
  time_writer times_;
  text_buffer text_;
};

void json_lines::begin(const packet_source& source, std::string_view name) {
  constexpr std::size_t fixed_text = 128;
  char* out = text_.room(fixed_text + name.size());
  out = put(out, R"({"time":")");
  times_.write(source.time, out);
  out += time_text_size;
  out = put(out, R"(","radio":)");
  out = std::to_chars(out, out + max_value_size, source.radio).ptr;
  if (source.kind == modem_stats::packet_kind::log) {
    out = put(out, R"(,"log":"0x)");
    constexpr std::string_view digits = "0123456789ABCDEF";
    for (const int shift : {12, 8, 4, 0}) *out++ = digits[source.id >> shift & 0x0F];
    *out++ = '"';
  } else {
    out = put(out, R"(,"event":)");
    out = std::to_chars(out, out + max_value_size, source.id).ptr;
  }
  out = put(out, name);
  text_.commit(out);
}

void json_lines::record(const packet_source& source, const record_schema& schema,
                        const record_data& data) {
  const auto& form = *forms().at(schema.id);
  begin(source, form.name);
  form.fields.write(text_, data);
  if (with_raw_bytes_) {
    text_.append(R"(,"raw":")");
    text_.commit(write_hex(text_.room(2 * data.bytes.size()), data.bytes));
    text_.append("\"");
  }
  text_.append("}\n");
}

class json_lines_all final : public record_store {
 public:
  json_lines_all(file_output& to, bool with_raw_bytes) : to_(to), with_raw_bytes_(with_raw_bytes) {}

  std::unique_ptr<record_writer> make_writer() override {
    return std::make_unique<json_lines>(to_, with_raw_bytes_);
  }

 private:
  file_output& to_;
  bool with_raw_bytes_;
};

}  // namespace

std::unique_ptr<record_store> json_lines_store(file_output& to, bool with_raw_bytes) {
  return std::make_unique<json_lines_all>(to, with_raw_bytes);
}

}  // namespace decode
