#include "decode/record_list.h"

#include <fmt/format.h>

#include "modem_stats/record_table.h"

namespace decode {

namespace {

using modem_stats::record_part;

constexpr const char* type_names[] = {"u8", "u16", "u32", "u64", "i8", "i16", "i32", "f32"};

std::string heading(const record_part& part) {
  std::string text = fmt::format("\n`{}`: an entry for each of `{}`", part.name, part.counts[0]);
  if (part.counts[1] != nullptr) text += fmt::format(" and `{}`", part.counts[1]);
  return text + "\n";
}

}  // namespace

std::string record_list() {
  std::string text =
      "# Records\n\n"
      "Fields are packed in this order, little-endian. `tvk-decode --list-records` generates this "
      "page.\n";
  for (const auto* const schema : modem_stats::record_table()) {
    text += fmt::format("\n## {} {}\n", static_cast<unsigned>(schema->id), schema->name);
    for (const auto& part : schema->parts()) {
      if (part.repeated()) text += heading(part);
      text += "\n| field | type | unit |\n|---|---|---|\n";
      for (const auto& row : part.rows) {
        text += fmt::format("| {} | {} | {} |\n", row.name,
                            type_names[static_cast<std::size_t>(row.type)],
                            modem_stats::suffix_of(row.of->in));
      }
    }
  }
  return text;
}

}  // namespace decode
