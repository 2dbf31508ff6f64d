// CSV: a file for each kind of record, named after it. Columns are named by field and unit; a
// repeated part is one column that holds a JSON array. Values that were not measured are empty.
#include <fmt/format.h>

#include <array>
#include <memory>
#include <set>
#include <string>

#include "decode/output/identity.h"
#include "decode/output/record_form.h"
#include "decode/output/record_output.h"
#include "decode/output/table_folder.h"
#include "decode/output/value_text.h"
#include "modem_stats/record_table.h"

namespace decode {

namespace {

using modem_stats::record_data;
using modem_stats::record_part;
using modem_stats::record_schema;

std::set<std::string> table_names() {
  std::set<std::string> names;
  for (const auto* const schema : modem_stats::record_table()) names.insert(schema->name);
  return names;
}

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
  std::string name;
  std::string header;
  std::string data_id;
  record_form fields;
};

class csv_tables final : public record_store {
 public:
  csv_tables(const std::string& directory, bool with_raw_bytes, bool replace,
             const file_set& inputs)
      : with_raw_bytes_(with_raw_bytes), folder_(directory, table_names(), replace, inputs) {
    for (const auto* const schema : modem_stats::record_table()) {
      tables_.at(schema->id) = std::make_unique<table_form>(table_form{
          schema->name, header_of(*schema, with_raw_bytes),
          std::to_string(static_cast<unsigned>(schema->id)), record_form(*schema, csv_record)});
    }
  }

  std::unique_ptr<record_writer> make_writer(const std::string& file) override;
  void finish() override { folder_.finish(); }

  void write(std::size_t data_id, std::string_view rows) {
    folder_.write(form(data_id).name, form(data_id).header, rows);
  }

  [[nodiscard]] const table_form& form(std::size_t data_id) const { return *tables_.at(data_id); }
  [[nodiscard]] bool with_raw_bytes() const { return with_raw_bytes_; }

 private:
  const bool with_raw_bytes_;
  table_folder folder_;
  std::array<std::unique_ptr<table_form>, 256> tables_;  // by data id
};

constexpr identity_writer::form identity_form{"", ",", ",", ","};

class csv_rows final : public record_writer {
 public:
  csv_rows(csv_tables& to, const std::string& file)
      : to_(to), identity_(identity_form, fmt::format(",{},", csv_text(file))) {}

  void record(const packet_source& source, const record_schema& schema,
              const record_data& data) override {
    const auto& form = to_.form(schema.id);
    auto& rows = rows_.at(schema.id);
    identity_.write(rows, source, form.data_id);
    auto& text = rows.text();
    form.fields.write(text, data);
    if (to_.with_raw_bytes()) {
      text.append(",");
      text.commit(write_hex(text.room(2 * data.bytes.size()), data.bytes));
    }
    text.append("\n");
  }

  void flush(const running_counts& late) override {
    for (std::size_t id = 0; id < rows_.size(); ++id) {
      rows_.at(id).flush(late.packets, [&](std::string_view text) { to_.write(id, text); });
    }
  }

  void clear() override {
    for (auto& rows : rows_) rows.clear();
  }

 private:
  csv_tables& to_;
  identity_writer identity_;
  std::array<numbered_text, 256> rows_;  // by data id
};

std::unique_ptr<record_writer> csv_tables::make_writer(const std::string& file) {
  return std::make_unique<csv_rows>(*this, file);
}

}  // namespace

std::unique_ptr<record_store> csv_store(const std::string& directory, bool with_raw_bytes,
                                        bool replace, const file_set& inputs) {
  return std::make_unique<csv_tables>(directory, with_raw_bytes, replace, inputs);
}

}  // namespace decode
