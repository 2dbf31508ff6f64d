// Reads a message's byte string one element at a time. platform/qmi_idl.h describes its encoding.
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
  std::size_t offset = 0;          ///< from the start of the enclosing structure to the data
  std::size_t count = 1;           ///< number of elements; the maximum when variable
  std::size_t count_width = 0;     ///< variable arrays: bytes of the count on the wire
  std::size_t count_distance = 0;  ///< variable arrays: from the u32 count in C to the data
  const qmi_idl_type_table_entry* type = nullptr;    ///< aggregates only
  const qmi_idl_type_table_object* table = nullptr;  ///< aggregates: the table `type` is in

  [[nodiscard]] std::size_t wire_width() const;  ///< bytes of one scalar
  [[nodiscard]] std::size_t c_width() const;     ///< bytes of one element
};

/// Steps through the elements and TLV rows of a byte string. There is no length to check: the
/// string carries its own end marks.
class string_cursor {
 public:
  string_cursor(const std::uint8_t* at, const qmi_idl_type_table_object* table)
      : at_(at), table_(table) {}

  [[nodiscard]] std::uint8_t next_byte() { return *at_++; }
  [[nodiscard]] bool at_aggregate_end() const { return *at_ == aggregate_end; }

  /// False for an encoding that the codec does not support.
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
  std::size_t valid_distance = 0;  ///< optional TLVs: from the valid byte to the data
  element content;

  [[nodiscard]] std::size_t valid_offset() const { return content.offset - valid_distance; }
};

[[nodiscard]] bool next_row(string_cursor& at, tlv_row& out);

}  // namespace idl
