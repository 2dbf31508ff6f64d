// CSV: a file for each kind of record, named after it. Columns are named by field and unit; a
// repeated part is one column that holds a JSON array. Values that were not measured are empty.
#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <map>
#include <string>
#include <system_error>

#include "decode/output/file_output.h"
#include "decode/output/record_form.h"
#include "decode/output/record_output.h"
#include "decode/output/time_text.h"
#include "host/file_descriptor.h"
#include "modem_stats/record_table.h"

namespace decode {

namespace {

using modem_stats::record_data;
using modem_stats::record_part;
using modem_stats::record_schema;

class csv_files final : public record_store {
 public:
  csv_files(std::string directory, bool with_raw_bytes, const file_set& inputs)
      : directory_(std::move(directory)), with_raw_bytes_(with_raw_bytes) {
    std::error_code error;
    std::filesystem::create_directories(directory_, error);
    if (error) throw output_error(fmt::format("{}: {}", directory_, error.message()));
    // Checked before anything is written, not when the first record of a kind turns up.
    for (const auto* const schema : modem_stats::record_table()) {
      must_not_be_of(inputs, path_of(*schema));
      forms_.emplace(schema->id, record_form(*schema, csv_record));
    }
  }

  std::unique_ptr<record_writer> make_writer() override;

  void write(std::size_t data_id, std::string_view rows) {
    auto found = files_.find(data_id);
    if (found == files_.end()) found = files_.emplace(data_id, begin(data_id)).first;
    found->second.write(rows);
  }

  [[nodiscard]] const record_form& form(std::size_t data_id) const { return forms_.at(data_id); }
  [[nodiscard]] bool with_raw_bytes() const { return with_raw_bytes_; }

 private:
  [[nodiscard]] std::string path_of(const record_schema& schema) const {
    return fmt::format("{}/{}.csv", directory_, schema.name);
  }

  static void append_names(std::string& header, const record_part& part) {
    for (const auto& column : modem_stats::columns_of(part)) {
      header.append(",").append(column.name);
    }
  }

  [[nodiscard]] file_output begin(std::size_t data_id) const {
    const auto& schema =
        *modem_stats::find_record_schema(static_cast<modem_stats_data_id_e_type>(data_id));
    file_output made(path_of(schema));
    std::string header = "time,radio,source";
    for (const auto& part : schema.parts()) {
      if (part.repeated()) {
        header.append(",").append(part.name);
        continue;
      }
      append_names(header, part);
    }
    append_names(header, schema.beside);
    if (with_raw_bytes_) header += ",raw";
    made.write(header + "\n");
    return made;
  }

  const std::string directory_;
  const bool with_raw_bytes_;
  std::map<std::size_t, record_form> forms_;  // by data id
  std::map<std::size_t, file_output> files_;
};

class csv_rows final : public record_writer {
 public:
  explicit csv_rows(csv_files& to) : to_(to) {}

  void record(const packet_source& source, const record_schema& schema,
              const record_data& data) override {
    auto& text = rows_.at(schema.id);
    char* out = text.room(time_text_size);
    times_.write(source.time, out);
    text.commit(out + time_text_size);
    if (source.kind == modem_stats::packet_kind::log) {
      text.append(fmt::format(",{},0x{:04X}", source.radio, source.id));
    } else {
      text.append(fmt::format(",{},{}", source.radio, source.id));
    }
    to_.form(schema.id).write(text, data);
    if (to_.with_raw_bytes()) {
      text.append(",");
      text.commit(write_hex(text.room(2 * data.bytes.size()), data.bytes));
    }
    text.append("\n");
  }

  void flush() override {
    for (std::size_t id = 0; id < rows_.size(); ++id) {
      if (!rows_.at(id).view().empty()) to_.write(id, rows_.at(id).view());
    }
    clear();
  }

  void clear() override {
    for (auto& rows : rows_) rows.clear();
  }

 private:
  csv_files& to_;
  time_writer times_;
  std::array<text_buffer, 256> rows_;  // by data id
};

std::unique_ptr<record_writer> csv_files::make_writer() {
  return std::make_unique<csv_rows>(*this);
}

}  // namespace

std::unique_ptr<record_store> csv_store(const std::string& directory, bool with_raw_bytes,
                                        const file_set& inputs) {
  return std::make_unique<csv_files>(directory, with_raw_bytes, inputs);
}

}  // namespace decode
