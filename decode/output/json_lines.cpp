// JSON lines: {"time":"...Z","radio":1,"source":"0xB193","data_id":82,"name":"...","file":"...",
// "packet":0, then the fields, named with their units; repeated parts are arrays of objects}.
// Values that were not measured are null.
#include <fmt/format.h>

#include <array>
#include <optional>
#include <string>

#include "decode/output/file_output.h"
#include "decode/output/identity.h"
#include "decode/output/record_form.h"
#include "decode/output/row_writer.h"
#include "decode/output/value_text.h"
#include "modem_stats/record_table.h"

namespace decode {

namespace {

using modem_stats::record_data;
using modem_stats::record_schema;

/// Everything that is the same in all records of a kind.
struct line_form {
  std::string data_id_and_name;  // 82,"name":"..."
  record_form fields;
};

/// By data id.
using form_table = std::array<std::optional<line_form>, 256>;

const form_table& forms() {
  static const form_table all = [] {
    form_table table;
    for (const auto* const schema : modem_stats::record_table()) {
      table.at(schema->id) = {
          fmt::format("{},\"name\":\"{}\"", static_cast<unsigned>(schema->id), schema->name),
          record_form(*schema, json_record)};
    }
    return table;
  }();
  return all;
}

constexpr identity_writer::form identity_form{R"({"time":")", R"(","radio":)", R"(,"source":")",
                                              R"(","data_id":)"};

class json_writer final : public row_writer {
 public:
  json_writer(const std::string& file, bool with_raw_bytes)
      : with_raw_bytes_(with_raw_bytes),
        identity_(identity_form, fmt::format(R"(,"file":"{}","packet":)", json_text(file))) {}

  void write(numbered_text& to, const packet_source& source, const record_schema& schema,
             const record_data& data) override {
    const auto& form = *forms_.at(schema.id);
    identity_.write(to, source, form.data_id_and_name);
    auto& text = to.text();
    form.fields.write(text, data);
    if (with_raw_bytes_) {
      text.append(R"(,"raw":")");
      text.commit(write_hex(text.room(2 * data.bytes.size()), data.bytes));
      text.append("\"");
    }
    text.append("}\n");
  }

 private:
  const bool with_raw_bytes_;
  const form_table& forms_ = forms();
  identity_writer identity_;
};

std::unique_ptr<row_writer> make_json_writer(const std::string& file, bool with_raw_bytes) {
  return std::make_unique<json_writer>(file, with_raw_bytes);
}

/// All kinds of records in one file.
class json_lines final : public record_writer {
 public:
  json_lines(file_output& to, bool with_raw_bytes, const std::string& file)
      : to_(to), rows_(file, with_raw_bytes) {}

  void record(const packet_source& source, const record_schema& schema,
              const record_data& data) override {
    rows_.write(lines_, source, schema, data);
  }
  void flush(const running_counts& late) override {
    lines_.flush(late.packets, [&](std::string_view text) { to_.write(text); });
  }
  void clear() override { lines_.clear(); }

 private:
  file_output& to_;
  json_writer rows_;
  numbered_text lines_;
};

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

const row_format json_rows{".jsonl", [](const record_schema&, bool) { return std::string(); },
                           make_json_writer};

std::unique_ptr<record_store> json_lines_store(file_output& to, bool with_raw_bytes) {
  return std::make_unique<json_lines_all>(to, with_raw_bytes);
}

}  // namespace decode
