#include "modem_stats/columns.h"

#include <charconv>

namespace modem_stats {

namespace {

/// The bits of a value of this type, of which a null rule sees four bytes.
u32 mask_of(field_type type) {
  const auto bytes = size_of(type);
  return bytes < sizeof(u32) ? (u32{1} << (8 * bytes)) - 1 : UINT32_MAX;
}

const field_row* find(const record_part& part, const char* name, std::size_t& byte) {
  byte = 0;
  for (const auto& row : part.rows) {
    if (std::string_view(row.name) == name) return &row;
    byte += size_of(row.type);
  }
  return nullptr;
}

/// The word lies within the part even if the field is at its end.
void set_null_test(column& to, const record_part& part, std::size_t part_size) {
  const null_rule& rule = to.field->null;
  if (rule.mask == 0) return;
  std::size_t byte = 0;
  const field_row* const tested = find(part, rule.of == nullptr ? to.field->name : rule.of, byte);
  if (rule.upper_half) byte += sizeof(u32);
  const u32 mask = rule.mask & (rule.upper_half ? UINT32_MAX : mask_of(tested->type));
  to.null.byte = std::min(byte, part_size - sizeof(u32));
  const auto shift = 8 * (byte - to.null.byte);
  to.null.mask = mask << shift;
  for (std::size_t i = 0; i < rule.values.size(); ++i) {
    to.null.values[i] = (rule.values[i] & mask) << shift;
  }
  to.null.otherwise = rule.otherwise;
}

}  // namespace

std::vector<column> columns_of(const record_part& part) {
  std::size_t part_size = 0;
  for (const auto& row : part.rows) part_size += size_of(row.type);
  std::vector<column> columns;
  std::size_t byte = 0;
  for (const auto& row : part.rows) {
    const quantity& of = *row.of;
    column one{.name = of.name,
               .about = of.about,
               .type = of.type,
               .in = of.in,
               .nullable = row.null.mask != 0 || row.type == field_type::float32,
               .field = &row,
               .byte = byte};
    set_null_test(one, part, part_size);
    columns.push_back(one);
    if (of.means != nullptr) {
      one.name = of.means->name;
      one.type = of.means->type;
      one.in = of.means->in;
      one.nullable = true;
      one.means = of.means;
      columns.push_back(one);
    }
    byte += size_of(row.type);
  }
  return columns;
}

char* write_version(char* out, u32 version) {
  char* const end = out + max_version_size;
  if (version > UINT16_MAX) {
    out = std::to_chars(out, end, version >> 16).ptr;
    *out++ = '.';
    version &= UINT16_MAX;
  }
  return std::to_chars(out, end, version).ptr;
}

}  // namespace modem_stats
