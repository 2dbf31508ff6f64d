#include "decode/output/schema_json.h"

#include <nlohmann/json.hpp>

#include "decode/output/identity.h"
#include "modem_stats/columns.h"
#include "modem_stats/record_table.h"

namespace decode {

using json = nlohmann::ordered_json;
using modem_stats::value_type;

namespace {

const char* type_name(value_type type) {
  switch (type) {
    case value_type::integer:
      return "integer";
    case value_type::number:
      return "number";
    case value_type::text:
      break;
  }
  return "string";
}

/// Adds the columns to the properties of an object, all of which are always there.
void add_columns(json& object, const modem_stats::record_part& part) {
  for (const auto& column : modem_stats::columns_of(part)) {
    const char* const type = type_name(column.type);
    object["properties"][column.name] = {
        {"type", column.nullable ? json{type, "null"} : json(type)}, {"description", column.about}};
    object["required"].push_back(column.name);
  }
}

json line_schema(const modem_stats::record_schema& schema) {
  json line{{"title", schema.name}, {"type", "object"}};
  for (const auto& column : identity_columns) {
    line["properties"][column.name] = {{"type", type_name(column.type)},
                                       {"description", column.about}};
    line["required"].push_back(column.name);
  }
  line["properties"]["time"]["format"] = "date-time";
  line["properties"]["data_id"]["const"] = static_cast<unsigned>(schema.id);
  line["properties"]["name"] = {{"const", schema.name}, {"description", "kind of record"}};
  line["required"].push_back("name");
  for (const auto& part : schema.parts()) {
    if (!part.repeated()) {
      add_columns(line, part);
      continue;
    }
    json entry{{"type", "object"}};
    add_columns(entry, part);
    entry["additionalProperties"] = false;
    line["properties"][part.name] = {{"type", "array"}, {"items", std::move(entry)}};
    line["required"].push_back(part.name);
  }
  add_columns(line, schema.beside);
  line["properties"]["raw"] = {
      {"type", "string"},
      {"pattern", "^([0-9a-f]{2})*$"},
      {"description", "bytes of the record, hexadecimal; only with --raw"}};
  line["additionalProperties"] = false;
  return line;
}

}  // namespace

std::string json_schema() {
  json schema{{"$schema", "https://json-schema.org/draft/2020-12/schema"},
              {"title", "a line of tvk-decode -f jsonl"}};
  for (const auto* const record : modem_stats::record_table()) {
    schema["oneOf"].push_back(line_schema(*record));
  }
  return schema.dump(1) + "\n";
}

}  // namespace decode
