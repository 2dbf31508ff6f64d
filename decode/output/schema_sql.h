// SQL statements that create a table for each kind of record, and load records.jsonl, a file of
// JSON lines, into them. It is read once; then each table takes its kind of lines.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "modem_stats/columns.h"

namespace decode {

/// A column of a table: a value, or a part of the record that is an array of objects.
struct sql_column {
  std::string name;
  modem_stats::value_type type{};
  bool nullable = false;
  std::string about;
  std::vector<sql_column> entries;  // of an array
};

/// What differs between the database engines.
struct sql_engine {
  std::string_view name;
  std::string_view integer, number, text, time;
  std::string (*array_type)(std::span<const sql_column> entries);
  std::string_view load_lines;
  std::string_view data_id;  // of a line
  /// Selects the lines of the table as its columns.
  std::string (*select)(std::string_view table, std::span<const sql_column> columns);
  std::string_view end;
};

extern const sql_engine duckdb_engine;
extern const sql_engine postgresql_engine;
extern const sql_engine sqlite_engine;

[[nodiscard]] std::string sql_schema(const sql_engine& engine);

}  // namespace decode
