// One element of a message's byte string, taken apart. The encoding is told in platform/qmi_idl.h.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/qmi_idl.h"

namespace idl {

enum class element_kind : std::uint8_t {
  u8 = 0,
  u16 = 1,
  u32 = 2,
  u64 = 3,
  enum8 = 4,
  enum16 = 5,
  aggregate = 7,
};

struct element {
  element_kind kind = element_kind::u8;
  bool is_array = false;
  bool is_variable = false;
  std::size_t offset = 0;          ///< of the data, from the start of the enclosing structure
  std::size_t count = 1;           ///< elements: exactly, or at most when variable
  std::size_t count_width = 0;     ///< bytes of the count on the wire, variable arrays
  std::size_t count_distance = 0;  ///< from the u32 count in C to the data, variable arrays
  const qmi_idl_type_table_entry* type = nullptr;    ///< aggregates
  const qmi_idl_type_table_object* table = nullptr;  ///< where the aggregate's own types live

  [[nodiscard]] std::size_t wire_width() const;  ///< of one scalar
  [[nodiscard]] std::size_t c_width() const;     ///< of one element
};

/// Steps through the elements and TLV rows of a byte string, which always ends itself.
class string_cursor {
 public:
  string_cursor(const std::uint8_t* at, const qmi_idl_type_table_object* table)
      : at_(at), table_(table) {}

  [[nodiscard]] std::uint8_t next_byte() { return *at_++; }
  [[nodiscard]] bool at_aggregate_end() const { return *at_ == aggregate_end; }

  /// False for a form that the codec does not have.
  [[nodiscard]] bool next_element(element& out);

 private:
  static constexpr std::uint8_t aggregate_end = 0x20;

  [[nodiscard]] std::size_t next_number(bool wide);

  const std::uint8_t* at_;
  const qmi_idl_type_table_object* table_;
};

/// One TLV of a message.
struct tlv_row {
  bool is_last = false;
  bool is_optional = false;
  std::uint8_t type = 0;
  std::size_t valid_distance = 0;  ///< from the valid byte to the data, optional TLVs
  element content;

  [[nodiscard]] std::size_t valid_offset() const { return content.offset - valid_distance; }
};

[[nodiscard]] bool next_row(string_cursor& at, tlv_row& out);

}  // namespace idl
