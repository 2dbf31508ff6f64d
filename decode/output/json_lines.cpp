// JSON lines: {"time":"...Z","radio":1,"source":"0xB193","data_id":82,"name":"...","file":"...",
// "packet":0, then the fields, named with their units; repeated parts are arrays of objects}.
// Values that were not measured are null.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "decode/output/file_output.h"
#include "decode/output/identity.h"
#include "decode/output/record_output.h"
#include "decode/output/value_text.h"
#include "modem_stats/record_table.h"

namespace decode {

namespace {

using modem_stats::field_row;
using modem_stats::record_part;
using modem_stats::record_schema;

/// A field and the text before its value.
struct column {
  const field_row* row;
  std::string key;  // "rsrp_rx0_dBm": including quotes, colon and the separator before it
};

struct part_form {
  const record_part* part;
  std::vector<column> columns;
  std::size_t bytes = 0;     // size of one repetition in the record
  std::size_t max_text = 0;  // longest text of one repetition
};

/// Everything that is the same in all records of a kind.
struct record_form {
  std::string name;  // 82,"name":"..."
  std::vector<part_form> parts;
};

part_form form_of(const record_part& part) {
  part_form form{.part = &part, .columns = {}};
  for (const auto& row : part.rows) {
    const bool first = part.repeated() && form.columns.empty();
    form.columns.push_back({&row, fmt::format("{}\"{}\":", first ? "{" : ",", column_name(row))});
    form.bytes += modem_stats::size_of(row.type);
    form.max_text += form.columns.back().key.size() + max_value_size;
  }
  form.max_text += 2;  // "}" and ","
  return form;
}

using form_table = std::array<record_form, 256>;

const form_table& forms() {
  static const form_table all = [] {
    form_table table;
    for (const auto* const schema : modem_stats::record_table()) {
      auto& form = table.at(schema->id);
      form.name =
          fmt::format("{},\"name\":\"{}\"", static_cast<unsigned>(schema->id), schema->name);
      for (const auto& part : schema->parts()) form.parts.push_back(form_of(part));
    }
    return table;
  }();
  return all;
}

char* put(char* out, std::string_view text) {
  return std::copy(text.begin(), text.end(), out);
}

char* put_fields(char* out, const part_form& form, const std::uint8_t*& bytes) {
  for (const auto& column : form.columns) {
    out = put(out, column.key);
    out = write_value(out, *column.row, bytes, "null");
    bytes += modem_stats::size_of(column.row->type);
  }
  return out;
}

constexpr identity_writer::form identity_form{R"({"time":")", R"(","radio":)", R"(,"source":")",
                                              R"(","data_id":)"};

class json_lines final : public record_writer {
 public:
  json_lines(file_output& to, bool with_raw_bytes, const std::string& file)
      : to_(to),
        with_raw_bytes_(with_raw_bytes),
        identity_(identity_form, fmt::format(R"(,"file":"{}","packet":)", json_text(file))) {}

  void record(const packet_source& source, const record_schema& schema,
              std::span<const std::uint8_t> data) override;

  void flush(const running_counts& late) override {
    lines_.flush(late.packets, [&](std::string_view text) { to_.write(text); });
  }
  void clear() override { lines_.clear(); }

 private:
  file_output& to_;
  const bool with_raw_bytes_;
  identity_writer identity_;
  numbered_text lines_;
};

void json_lines::record(const packet_source& source, const record_schema& schema,
                        std::span<const std::uint8_t> data) {
  const auto& form = forms().at(schema.id);
  identity_.write(lines_, source, form.name);
  auto& text = lines_.text();
  const std::uint8_t* bytes = data.data();
  for (const auto& part : form.parts) {
    if (!part.part->repeated()) {
      char* out = text.room(part.max_text);
      text.commit(put_fields(out, part, bytes));
      continue;
    }
    const auto count = modem_stats::repetitions(schema, *part.part, data);
    text.append(fmt::format(",\"{}\":[", part.part->name));
    for (std::size_t i = 0; i < count; ++i) {
      char* out = text.room(part.max_text);
      if (i > 0) *out++ = ',';
      out = put_fields(out, part, bytes);
      *out++ = '}';
      text.commit(out);
    }
    text.append("]");
  }
  if (with_raw_bytes_) {
    text.append(R"(,"raw":")");
    text.commit(write_hex(text.room(2 * data.size()), data));
    text.append("\"");
  }
  text.append("}\n");
}

class json_lines_all final : public record_store {
 public:
  json_lines_all(file_output& to, bool with_raw_bytes) : to_(to), with_raw_bytes_(with_raw_bytes) {}

  std::unique_ptr<record_writer> make_writer(const std::string& file) override {
    return std::make_unique<json_lines>(to_, with_raw_bytes_, file);
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
