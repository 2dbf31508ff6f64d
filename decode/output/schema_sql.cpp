#include "decode/output/schema_sql.h"

#include <fmt/format.h>

#include "decode/output/identity.h"
#include "modem_stats/record_table.h"

namespace decode {

using modem_stats::value_type;

namespace {

std::string_view type_of(const sql_engine& engine, value_type type) {
  switch (type) {
    case value_type::integer:
      return engine.integer;
    case value_type::number:
      return engine.number;
    case value_type::text:
      break;
  }
  return engine.text;
}

std::string type_of(const sql_engine& engine, const sql_column& column) {
  if (!column.entries.empty()) return engine.array_type(column.entries);
  return std::string(column.name == time_column ? engine.time : type_of(engine, column.type));
}

void add_columns(std::vector<sql_column>& to, const modem_stats::record_part& part) {
  for (const auto& column : modem_stats::columns_of(part)) {
    to.push_back({column.name, column.type, column.nullable, column.about, {}});
  }
}

std::vector<sql_column> columns_of(const modem_stats::record_schema& schema) {
  std::vector<sql_column> columns;
  for (const auto& column : identity_columns) {
    columns.push_back({column.name, column.type, false, column.about, {}});
  }
  for (const auto& part : schema.parts()) {
    if (part.repeated()) {
      auto& array = columns.emplace_back();
      array.name = part.name;
      array.about = "array";
      add_columns(array.entries, part);
    } else {
      add_columns(columns, part);
    }
  }
  add_columns(columns, schema.beside);
  return columns;
}

/// The columns with `form`, separated by commas.
template <typename Form>
std::string joined(std::span<const sql_column> columns, Form form) {
  std::string text;
  for (const auto& column : columns) text.append(text.empty() ? "" : ", ").append(form(column));
  return text;
}

std::string create_statement(const sql_engine& engine, std::string_view table,
                             std::span<const sql_column> columns) {
  std::string text = fmt::format("CREATE TABLE \"{}\" (\n", table);
  for (const auto& column : columns) {
    text += fmt::format("  \"{}\" {}{}{}  -- {}\n", column.name, type_of(engine, column),
                        column.nullable ? "" : " NOT NULL", &column == &columns.back() ? "" : ",",
                        column.about);
  }
  return text + ");\n";
}

/// Types in the form of a value, as json_transform() takes them.
std::string duckdb_type(const sql_column& column) {
  if (column.entries.empty()) return fmt::format("\"{}\"", type_of(duckdb_engine, column));
  return fmt::format("[{{{}}}]", joined(column.entries, [](const sql_column& entry) {
                       return fmt::format("\"{}\":{}", entry.name, duckdb_type(entry));
                     }));
}

std::string duckdb_array(std::span<const sql_column> entries) {
  return fmt::format("STRUCT({})[]", joined(entries, [](const sql_column& entry) {
                       return fmt::format("\"{}\" {}", entry.name, type_of(duckdb_engine, entry));
                     }));
}

std::string select_from_duckdb(std::string_view /*table*/, std::span<const sql_column> columns) {
  return fmt::format("SELECT unnest(json_transform(line, '{{{}}}')) FROM lines",
                     joined(columns, [](const sql_column& column) {
                       return fmt::format("\"{}\":{}", column.name, duckdb_type(column));
                     }));
}

std::string json_array(std::span<const sql_column> /*entries*/) {
  return "jsonb";
}

std::string select_from_postgresql(std::string_view table,
                                   std::span<const sql_column> /*columns*/) {
  return fmt::format("SELECT record.* FROM lines, jsonb_populate_record(NULL::\"{}\", line) record",
                     table);
}

std::string text_array(std::span<const sql_column> /*entries*/) {
  return "TEXT";
}

std::string select_from_sqlite(std::string_view /*table*/, std::span<const sql_column> columns) {
  return fmt::format("SELECT {} FROM lines", joined(columns, [](const sql_column& column) {
                       return fmt::format("line ->> '$.{}'", column.name);
                     }));
}

}  // namespace

const sql_engine duckdb_engine{
    .name = "DuckDB",
    .integer = "BIGINT",
    .number = "DOUBLE",
    .text = "VARCHAR",
    .time = "TIMESTAMPTZ",
    .array_type = duckdb_array,
    .load_lines =
        "CREATE TEMP TABLE lines AS SELECT json AS line, CAST(json ->> 'data_id' AS BIGINT) "
        "AS data_id\n  FROM read_json_objects('records.jsonl', "
        "format = 'newline_delimited');\n",
    .data_id = "lines.data_id",
    .select = select_from_duckdb,
    .end = "DROP TABLE lines;\n",
};

const sql_engine postgresql_engine{
    .name = "PostgreSQL",
    .integer = "bigint",
    .number = "double precision",
    .text = "text",
    .time = "timestamptz",
    .array_type = json_array,
    // CSV with marks that JSON has no use for: every line is one value, as it is.
    .load_lines =
        "CREATE TEMP TABLE lines (line jsonb, data_id bigint GENERATED ALWAYS AS "
        "((line ->> 'data_id')::bigint) STORED);\n"
        "\\copy lines (line) FROM 'records.jsonl' WITH (FORMAT csv, QUOTE E'\\x01', "
        "DELIMITER E'\\x02')\n",
    .data_id = "lines.data_id",
    .select = select_from_postgresql,
    .end = "DROP TABLE lines;\n",
};

const sql_engine sqlite_engine{
    .name = "SQLite",
    .integer = "INTEGER",
    .number = "REAL",
    .text = "TEXT",
    .time = "TEXT",
    .array_type = text_array,
    .load_lines =
        "CREATE TEMP TABLE lines (line TEXT);\n"
        ".mode ascii\n"
        ".separator \"\\037\" \"\\n\"\n"
        ".import --schema temp records.jsonl lines\n"
        ".mode list\n"
        "CREATE INDEX temp.kinds ON lines (line ->> '$.data_id');\n",
    .data_id = "line ->> '$.data_id'",
    .select = select_from_sqlite,
    .end = "DROP TABLE lines;\n",
};

std::string sql_schema(const sql_engine& engine) {
  std::string text =
      fmt::format("-- Records of tvk-decode -f jsonl -o records.jsonl, in {}.\n", engine.name);
  std::string load;
  for (const auto* const schema : modem_stats::record_table()) {
    const auto columns = columns_of(*schema);
    text.append("\n").append(create_statement(engine, schema->name, columns));
    load += fmt::format("INSERT INTO \"{}\" {} WHERE {} = {};\n", schema->name,
                        engine.select(schema->name, columns), engine.data_id,
                        static_cast<unsigned>(schema->id));
  }
  return fmt::format("{}\n{}BEGIN;\n{}COMMIT;\n{}", text, engine.load_lines, load, engine.end);
}

}  // namespace decode
