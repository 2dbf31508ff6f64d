#include "platform/linux/idl/element.h"

namespace idl {
namespace {

constexpr unsigned wide_offset = 0x80;
constexpr unsigned array = 0x40;
constexpr unsigned wide_count = 0x20;
constexpr unsigned variable = 0x10;
constexpr unsigned second_flags = 0x08;
constexpr unsigned kind_bits = 0x07;
constexpr unsigned string_kind = 6;

constexpr unsigned last_tlv = 0x80;
constexpr unsigned optional_tlv = 0x40;
constexpr unsigned tlv_low_bits = 0x0F;

}  // namespace

std::size_t element::wire_width() const {
  switch (kind) {
    case element_kind::u8:
    case element_kind::enum8:
      return 1;
    case element_kind::u16:
    case element_kind::enum16:
      return 2;
    case element_kind::u32:
      return 4;
    case element_kind::u64:
      return 8;
    case element_kind::aggregate:
      break;
  }
  return 0;
}

std::size_t element::c_width() const {
  if (kind == element_kind::aggregate) return type->c_struct_size;
  if (kind == element_kind::enum8 || kind == element_kind::enum16) return 4;
  return wire_width();
}

std::size_t string_cursor::next_number(bool wide) {
  const std::size_t low = next_byte();
  return wide ? low | (std::size_t{next_byte()} << 8) : low;
}

bool string_cursor::next_element(element& out) {
  const unsigned flags = next_byte();
  const unsigned kind = flags & kind_bits;
  if ((flags & second_flags) != 0 || kind == string_kind) return false;

  out = {};
  out.kind = static_cast<element_kind>(kind);
  out.is_array = (flags & array) != 0;
  out.is_variable = out.is_array && (flags & variable) != 0;
  out.offset = next_number((flags & wide_offset) != 0);
  if (out.is_array) out.count = next_number((flags & wide_count) != 0);
  if (out.is_variable) {
    out.count_width = (flags & wide_count) != 0 ? 2 : 1;
    out.count_distance = next_byte();
  }
  if (out.kind == element_kind::aggregate) {
    // Two bytes: the low eight bits of the type index, then its next four bits (high nibble) and
    // the table's number (low nibble).
    const std::size_t low = next_byte();
    const std::size_t high = next_byte();
    out.table = table_->referenced_tables[high & 0x0F];
    out.type = &out.table->types[low | ((high & 0xF0) << 4)];
  }
  return true;
}

bool next_row(string_cursor& at, tlv_row& out) {
  const unsigned flags = at.next_byte();
  out.is_last = (flags & last_tlv) != 0;
  out.is_optional = (flags & optional_tlv) != 0;
  const unsigned low = flags & tlv_low_bits;
  out.type = out.is_optional ? at.next_byte() : static_cast<std::uint8_t>(low);
  out.valid_distance = out.is_optional ? low : 0;
  return at.next_element(out.content);
}

}  // namespace idl
