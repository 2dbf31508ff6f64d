// CSV: a file for each kind of record, named after it. Columns are named by field and unit; a
// repeated part is one column that holds a JSON array. Values that were not measured are empty.
#include <fmt/format.h>

#include <array>
#include <set>
#include <string>

#include "decode/output/identity.h"
#include "decode/output/record_output.h"
#include "decode/output/table_folder.h"
#include "decode/output/value_text.h"
#include "modem_stats/record_table.h"

namespace decode {

namespace {

using modem_stats::record_part;
using modem_stats::record_schema;

std::set<std::string> table_names() {
  std::set<std::string> names;
  for (const auto* const schema : modem_stats::record_table()) names.insert(schema->name);
  return names;
}

class csv_tables final : public record_store {
 public:
  csv_tables(const std::string& directory, bool with_raw_bytes, bool replace,
             const file_set& inputs)
      : with_raw_bytes_(with_raw_bytes), folder_(directory, table_names(), replace, inputs) {
    for (const auto* const schema : modem_stats::record_table()) {
      tables_.at(schema->id) = {schema->name, header_of(*schema),
                                std::to_string(static_cast<unsigned>(schema->id))};
    }
  }

  std::unique_ptr<record_writer> make_writer(const std::string& file) override;
  void finish() override { folder_.finish(); }

  void write(std::size_t data_id, std::string_view rows) {
    folder_.write(tables_.at(data_id).name, tables_.at(data_id).header, rows);
  }

  [[nodiscard]] std::string_view id_text(std::size_t data_id) const {
    return tables_.at(data_id).id_text;
  }
  [[nodiscard]] bool with_raw_bytes() const { return with_raw_bytes_; }

 private:
  [[nodiscard]] std::string header_of(const record_schema& schema) const {
    std::string header = "time,radio,source,data_id,file,packet";
    for (const auto& part : schema.parts()) {
      if (part.repeated()) {
        header.append(",").append(part.name);
        continue;
      }
      for (const auto& row : part.rows) header.append(",").append(modem_stats::column_name(row));
    }
    if (with_raw_bytes_) header += ",raw";
    return header + "\n";
  }

  struct table {
    std::string name;
    std::string header;
    std::string id_text;
  };

  const bool with_raw_bytes_;
  table_folder folder_;
  std::array<table, 256> tables_;  // by data id
};

constexpr identity_writer::form identity_form{"", ",", ",", ","};

class csv_rows final : public record_writer {
 public:
  csv_rows(csv_tables& to, const std::string& file)
      : to_(to), identity_(identity_form, fmt::format(",{},", csv_text(file))) {}

  void record(const packet_source& source, const record_schema& schema,
              std::span<const std::uint8_t> data) override {
    auto& rows = rows_.at(schema.id);
    identity_.write(rows, source, to_.id_text(schema.id));
    auto& text = rows.text();
    const std::uint8_t* bytes = data.data();
    for (const auto& part : schema.parts()) {
      if (part.repeated()) {
        put_array(text, part, modem_stats::repetitions(schema, part, data), bytes);
        continue;
      }
      for (const auto& row : part.rows) {
        text.append(",");
        put_value(text, row, bytes, "");
      }
    }
    if (to_.with_raw_bytes()) {
      text.append(",");
      text.commit(write_hex(text.room(2 * data.size()), data));
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
  static void put_value(text_buffer& text, const modem_stats::field_row& row,
                        const std::uint8_t*& bytes, std::string_view not_measured) {
    text.commit(write_value(text.room(max_value_size), row, bytes, not_measured));
    bytes += modem_stats::size_of(row.type);
  }

  static void put_array(text_buffer& text, const record_part& part, std::size_t count,
                        const std::uint8_t*& bytes) {
    text.append(",\"[");
    for (std::size_t i = 0; i < count; ++i) {
      text.append(i == 0 ? "{" : ",{");
      std::string_view separator;
      for (const auto& row : part.rows) {
        text.append(separator);
        text.append(fmt::format("\"\"{}\"\":", modem_stats::column_name(row)));
        put_value(text, row, bytes, "null");
        separator = ",";
      }
      text.append("}");
    }
    text.append("]\"");
  }

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
