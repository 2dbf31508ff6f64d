// A table for each kind of record, in any format of rows.
#include <array>
#include <chrono>
#include <memory>
#include <set>
#include <string>

#include "decode/output/record_output.h"
#include "decode/output/row_writer.h"
#include "decode/output/table_folder.h"
#include "modem_stats/record_table.h"

namespace decode {

namespace {

using modem_stats::record_data;
using modem_stats::record_schema;

std::set<std::string> table_names() {
  std::set<std::string> names;
  for (const auto* const schema : modem_stats::record_table()) names.insert(schema->name);
  return names;
}

std::int32_t day_of(std::int64_t unix_microseconds) {
  using namespace std::chrono;
  const sys_time<microseconds> time{microseconds(unix_microseconds)};
  return static_cast<std::int32_t>(floor<days>(time).time_since_epoch().count());
}

class tables final : public record_store {
 public:
  tables(const row_format& form, bool with_raw_bytes, const table_place& place,
         const file_set& inputs)
      : form_(form),
        with_raw_bytes_(with_raw_bytes),
        folder_(place, form.extension, table_names(), inputs) {
    for (const auto* const schema : modem_stats::record_table()) {
      headers_.at(schema->id) = form.header(*schema, with_raw_bytes);
    }
  }

  std::unique_ptr<record_writer> make_writer(const std::string& file) override;
  void finish(const summary& /*counts*/) override { folder_.finish(); }

  void write(std::size_t data_id, std::int32_t day, std::string_view rows) {
    const auto* const schema =
        modem_stats::find_record_schema(static_cast<modem_stats_data_id_e_type>(data_id));
    folder_.write(schema->name, day, headers_.at(data_id), rows);
  }
  [[nodiscard]] bool has_days() const { return folder_.has_days(); }

 private:
  const row_format& form_;
  const bool with_raw_bytes_;
  table_folder folder_;
  std::array<std::string, 256> headers_;  // by data id
};

class table_writer final : public record_writer {
 public:
  table_writer(tables& to, std::unique_ptr<row_writer> form)
      : to_(to), has_days_(to.has_days()), form_(std::move(form)) {}

  void record(const packet_source& source, const record_schema& schema,
              const record_data& data) override {
    auto& rows = rows_.at(schema.id);
    rows.begin_part(has_days_ ? day_of(source.time) : 0);
    form_->write(rows, source, schema, data);
  }

  void flush(const running_counts& late) override {
    for (std::size_t id = 0; id < rows_.size(); ++id) {
      rows_.at(id).flush_parts(
          late.packets, [&](std::int32_t day, std::string_view text) { to_.write(id, day, text); });
    }
  }

  void clear() override {
    for (auto& rows : rows_) rows.clear();
  }

 private:
  tables& to_;
  const bool has_days_;
  const std::unique_ptr<row_writer> form_;
  std::array<numbered_text, 256> rows_;  // by data id
};

std::unique_ptr<record_writer> tables::make_writer(const std::string& file) {
  return std::make_unique<table_writer>(*this, form_.make_writer(file, with_raw_bytes_));
}

}  // namespace

std::unique_ptr<record_store> table_store(const row_format& form, bool with_raw_bytes,
                                          const table_place& place, const file_set& inputs) {
  return std::make_unique<tables>(form, with_raw_bytes, place, inputs);
}

}  // namespace decode
