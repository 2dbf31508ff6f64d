// CSV. A table's rows begin with the columns that are the same in all tables.
#include <fmt/format.h>

#include <array>
#include <memory>
#include <optional>
#include <string>

#include "decode/output/identity.h"
#include "decode/output/record_form.h"
#include "decode/output/row_writer.h"
#include "decode/output/value_text.h"
#include "modem_stats/record_table.h"

namespace decode {

namespace {

using modem_stats::record_data;
using modem_stats::record_part;
using modem_stats::record_schema;

void append_names(std::string& header, const record_part& part) {
  for (const auto& column : modem_stats::columns_of(part)) {
    header.append(",").append(column.name);
  }
}

std::string header_of(const record_schema& schema, bool with_raw_bytes) {
  std::string header;
  for (const auto& column : identity_columns) {
    header.append(header.empty() ? "" : ",").append(column.name);
  }
  for (const auto& part : schema.parts()) {
    if (part.repeated()) {
      header.append(",").append(part.name);
    } else {
      append_names(header, part);
    }
  }
  append_names(header, schema.beside);
  if (with_raw_bytes) header += ",raw";
  return header + "\n";
}

/// What is the same in all rows of a table.
struct table_form {
  std::string data_id;
  record_form fields;
};

/// By data id.
using form_table = std::array<std::optional<table_form>, 256>;

const form_table& forms() {
  static const form_table all = [] {
    form_table table;
    for (const auto* const schema : modem_stats::record_table()) {
      table.at(schema->id) = {std::to_string(static_cast<unsigned>(schema->id)),
                              record_form(*schema, csv_record)};
    }
    return table;
  }();
  return all;
}

constexpr identity_writer::form identity_form{"", ",", ",", ","};

class csv_writer final : public row_writer {
 public:
  csv_writer(const std::string& file, bool with_raw_bytes)
      : with_raw_bytes_(with_raw_bytes),
        identity_(identity_form, fmt::format(",{},", csv_text(file))) {}

  void write(numbered_text& to, const packet_source& source, const record_schema& schema,
             const record_data& data) override {
    const auto& form = *forms_.at(schema.id);
    identity_.write(to, source, form.data_id);
    auto& text = to.text();
    form.fields.write(text, data);
    if (with_raw_bytes_) {
      text.append(",");
      text.commit(write_hex(text.room(2 * data.bytes.size()), data.bytes));
    }
    text.append("\n");
  }

 private:
  const bool with_raw_bytes_;
  const form_table& forms_ = forms();
  identity_writer identity_;
};

std::unique_ptr<row_writer> make_csv_writer(const std::string& file, bool with_raw_bytes) {
  return std::make_unique<csv_writer>(file, with_raw_bytes);
}

}  // namespace

const row_format csv_rows{".csv", header_of, make_csv_writer};

}  // namespace decode
