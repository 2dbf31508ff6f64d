#include "platform/linux/idl/codec.h"

#include <algorithm>
#include <bitset>
#include <cstring>

#include "platform/linux/idl/element.h"
#include "protocol/bytes.h"
#include "protocol/qmi_message.h"

namespace idl {
namespace {

using protocol::byte_reader;
using protocol::byte_view;
using protocol::qmi::standard_response_tlv;
using protocol::qmi::tlv_header_size;

template <typename T>
T load_native(const std::uint8_t* from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

template <typename T>
void store_native(T value, std::uint8_t* to) {
  std::memcpy(to, &value, sizeof value);
}

/// A message's description, and the type table its aggregates refer to.
struct message_table {
  const qmi_idl_type_table_object* table = nullptr;
  const qmi_idl_message_table_entry* message = nullptr;
};

std::int32_t find_table(qmi_idl_service_object_type service, qmi_idl_type_of_message kind,
                        std::uint16_t message_id, message_table& out) {
  if (service == nullptr || kind < QMI_IDL_REQUEST || kind > QMI_IDL_INDICATION) {
    return QMI_IDL_PARAMETER_ERROR;
  }
  if (service->library_version > QMI_IDL_LIBRARY_VERSION) return QMI_IDL_UNRECOGNIZED_VERSION;
  const auto* row = find_message(service, kind, message_id);
  if (row == nullptr) return QMI_IDL_MESSAGE_ID_NOT_FOUND;
  out.table = service->p_type_table->referenced_tables[row->message_index >> 12];
  out.message = &out.table->messages[row->message_index & 0x0FFF];
  return QMI_NO_ERR;
}

/// Appends to a buffer. A value that does not fit is refused and leaves the buffer unchanged.
class wire_writer {
 public:
  explicit wire_writer(std::span<std::uint8_t> out) : out_(out) {}

  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] std::size_t room() const { return out_.size() - size_; }

  [[nodiscard]] bool put(std::uint64_t value, std::size_t width) {
    if (room() < width) return false;
    for (std::size_t i = 0; i < width; ++i) {
      out_[size_ + i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
    size_ += width;
    return true;
  }
  [[nodiscard]] bool put_bytes(byte_view bytes) {
    if (room() < bytes.size()) return false;
    std::ranges::copy(bytes, out_.begin() + static_cast<std::ptrdiff_t>(size_));
    size_ += bytes.size();
    return true;
  }
  void overwrite_u16(std::size_t at, std::size_t value) {
    protocol::store_le(static_cast<std::uint16_t>(value), out_.subspan(at));
  }

 private:
  std::span<std::uint8_t> out_;
  std::size_t size_ = 0;
};

std::int32_t encode_element(const element& what, const std::uint8_t* structure, wire_writer& out);

std::int32_t encode_one(const element& what, const std::uint8_t* from, wire_writer& out) {
  bool fits = true;
  switch (what.kind) {
    case element_kind::u8:
      fits = out.put(*from, 1);
      break;
    case element_kind::u16:
      fits = out.put(load_native<std::uint16_t>(from), 2);
      break;
    case element_kind::u64:
      fits = out.put(load_native<std::uint64_t>(from), 8);
      break;
    case element_kind::u32:
    case element_kind::enum8:
    case element_kind::enum16:
      fits = out.put(load_native<std::uint32_t>(from), what.wire_width());
      break;
    case element_kind::aggregate: {
      string_cursor at(what.type->encoded, what.table);
      element member;
      while (!at.at_aggregate_end()) {
        if (!at.next_element(member)) return QMI_IDL_UNRECOGNIZED_VERSION;
        if (const auto error = encode_element(member, from, out); error != QMI_NO_ERR) return error;
      }
      break;
    }
  }
  return fits ? QMI_NO_ERR : QMI_IDL_LENGTH_INCONSISTENCY;
}

std::int32_t encode_element(const element& what, const std::uint8_t* structure, wire_writer& out) {
  const std::uint8_t* from = structure + what.offset;
  std::size_t count = what.count;
  if (what.is_variable) {
    count = load_native<std::uint32_t>(from - what.count_distance);
    if (count > what.count) return QMI_IDL_ARRAY_TOO_BIG;
    if (!out.put(count, what.count_width)) return QMI_IDL_LENGTH_INCONSISTENCY;
  }
  if (what.kind == element_kind::u8) {
    return out.put_bytes({from, count}) ? QMI_NO_ERR : QMI_IDL_LENGTH_INCONSISTENCY;
  }
  for (std::size_t i = 0; i < count; ++i) {
    const auto error = encode_one(what, from + i * what.c_width(), out);
    if (error != QMI_NO_ERR) return error;
  }
  return QMI_NO_ERR;
}

std::int32_t decode_element(const element& what, byte_reader& in, std::uint8_t* structure);

/// Reads one scalar of the element's wire width; enumerations are sign-extended.
bool decode_scalar(const element& what, byte_reader& in, std::uint8_t* to) {
  const auto bytes = in.take_bytes(what.wire_width());
  if (!bytes) return false;
  switch (what.kind) {
    case element_kind::u8:
      *to = bytes->front();
      break;
    case element_kind::u16:
      store_native(protocol::load_le<std::uint16_t>(*bytes), to);
      break;
    case element_kind::u32:
      store_native(protocol::load_le<std::uint32_t>(*bytes), to);
      break;
    case element_kind::u64:
      store_native(protocol::load_le<std::uint64_t>(*bytes), to);
      break;
    case element_kind::enum8:
      store_native(std::int32_t{static_cast<std::int8_t>(bytes->front())}, to);
      break;
    case element_kind::enum16:
      store_native(
          std::int32_t{static_cast<std::int16_t>(protocol::load_le<std::uint16_t>(*bytes))}, to);
      break;
    case element_kind::aggregate:
      return false;
  }
  return true;
}

std::int32_t decode_one(const element& what, byte_reader& in, std::uint8_t* to) {
  if (what.kind != element_kind::aggregate) {
    return decode_scalar(what, in, to) ? QMI_NO_ERR : QMI_IDL_LENGTH_INCONSISTENCY;
  }
  string_cursor at(what.type->encoded, what.table);
  element member;
  while (!at.at_aggregate_end()) {
    if (!at.next_element(member)) return QMI_IDL_UNRECOGNIZED_VERSION;
    if (const auto error = decode_element(member, in, to); error != QMI_NO_ERR) return error;
  }
  return QMI_NO_ERR;
}

std::int32_t decode_element(const element& what, byte_reader& in, std::uint8_t* structure) {
  std::uint8_t* to = structure + what.offset;
  std::size_t count = what.count;
  if (what.is_variable) {
    const auto prefix = in.take_bytes(what.count_width);
    if (!prefix) return QMI_IDL_LENGTH_INCONSISTENCY;
    count = what.count_width == 1 ? prefix->front() : protocol::load_le<std::uint16_t>(*prefix);
    // Stored even when it is refused: some callers report the count that did not fit.
    store_native(static_cast<std::uint32_t>(count), to - what.count_distance);
    if (count > what.count) return QMI_IDL_ARRAY_TOO_BIG;
  }
  for (std::size_t i = 0; i < count; ++i) {
    const auto error = decode_one(what, in, to + i * what.c_width());
    if (error != QMI_NO_ERR) return error;
  }
  return QMI_NO_ERR;
}

enum class lookup : std::uint8_t { found, absent, unsupported };

lookup find_row(const message_table& from, std::uint8_t type, tlv_row& row) {
  if (from.message->encoded == nullptr) return lookup::absent;
  string_cursor at(from.message->encoded, from.table);
  do {
    if (!next_row(at, row)) return lookup::unsupported;
    if (row.type == type) return lookup::found;
  } while (!row.is_last);
  return lookup::absent;
}

std::int32_t check_mandatory(const message_table& from, const std::bitset<256>& seen) {
  if (from.message->encoded == nullptr) return QMI_NO_ERR;
  string_cursor at(from.message->encoded, from.table);
  tlv_row row;
  do {
    if (!next_row(at, row)) return QMI_IDL_UNRECOGNIZED_VERSION;
    if (!row.is_optional && !seen.test(row.type)) return QMI_IDL_MISSING_TLV;
  } while (!row.is_last);
  return QMI_NO_ERR;
}

}  // namespace

const qmi_idl_service_message_table_entry* find_message(qmi_idl_service_object_type service,
                                                        qmi_idl_type_of_message kind,
                                                        std::uint16_t message_id) {
  const std::span rows(service->msgs[kind], service->n_msgs[kind]);
  const auto row = std::ranges::lower_bound(rows, message_id, {},
                                            &qmi_idl_service_message_table_entry::qmi_message_id);
  return row != rows.end() && row->qmi_message_id == message_id ? &*row : nullptr;
}

std::int32_t encode(qmi_idl_service_object_type service, qmi_idl_type_of_message kind,
                    std::uint16_t message_id, std::span<const std::uint8_t> c_struct,
                    std::span<std::uint8_t> out, std::size_t& written) {
  written = 0;
  message_table from;
  if (const auto error = find_table(service, kind, message_id, from); error != QMI_NO_ERR) {
    return error;
  }
  if (c_struct.size() < from.message->c_struct_size) return QMI_IDL_BUFFER_TOO_SMALL;
  if (from.message->encoded == nullptr) return QMI_NO_ERR;

  wire_writer wire(out);
  string_cursor at(from.message->encoded, from.table);
  tlv_row row;
  do {
    if (!next_row(at, row)) return QMI_IDL_UNRECOGNIZED_VERSION;
    if (row.is_optional && c_struct[row.valid_offset()] == 0) continue;
    if (wire.room() < tlv_header_size) return QMI_IDL_BUFFER_TOO_SMALL;
    const std::size_t start = wire.size();
    if (!wire.put(row.type, 1) || !wire.put(0, 2)) return QMI_IDL_BUFFER_TOO_SMALL;
    if (const auto error = encode_element(row.content, c_struct.data(), wire);
        error != QMI_NO_ERR) {
      return error;
    }
    wire.overwrite_u16(start + 1, wire.size() - start - tlv_header_size);
  } while (!row.is_last);
  written = wire.size();
  return QMI_NO_ERR;
}

std::int32_t decode(qmi_idl_service_object_type service, qmi_idl_type_of_message kind,
                    std::uint16_t message_id, std::span<const std::uint8_t> tlvs,
                    std::span<std::uint8_t> c_struct) {
  message_table from;
  if (const auto error = find_table(service, kind, message_id, from); error != QMI_NO_ERR) {
    return error;
  }
  if (c_struct.size() < from.message->c_struct_size) return QMI_IDL_BUFFER_TOO_SMALL;
  std::ranges::fill(c_struct.first(from.message->c_struct_size), std::uint8_t{0});

  std::bitset<256> seen;
  bool failed_response = false;
  protocol::qmi::tlv_reader reader(tlvs);
  while (const auto tlv = reader.next()) {
    tlv_row row;
    switch (find_row(from, tlv->type, row)) {
      case lookup::unsupported:
        return QMI_IDL_UNRECOGNIZED_VERSION;
      case lookup::absent:
        if (tlv->type < protocol::qmi::first_optional_tlv) return QMI_IDL_UNKNOWN_MANDATORY_TLV;
        continue;
      case lookup::found:
        break;
    }
    if (seen.test(tlv->type)) return QMI_IDL_TLV_DUPLICATED;
    seen.set(tlv->type);
    if (row.is_optional) c_struct[row.valid_offset()] = 1;
    byte_reader value(tlv->value);
    if (const auto error = decode_element(row.content, value, c_struct.data());
        error != QMI_NO_ERR) {
      return error;
    }
    if (!value.empty()) return QMI_IDL_LENGTH_INCONSISTENCY;
    // A failed response may omit everything but its result. Like the phone's runtime, look at the
    // first byte of TLV 0x02 regardless of what the service declares there.
    if (tlv->type == standard_response_tlv && !tlv->value.empty() && tlv->value[0] != 0) {
      failed_response = true;
    }
  }
  if (reader.malformed()) return QMI_IDL_LENGTH_INCONSISTENCY;
  if (kind == QMI_IDL_RESPONSE && failed_response) return QMI_NO_ERR;
  return check_mandatory(from, seen);
}

}  // namespace idl

std::int32_t qmi_idl_get_message_c_struct_len(qmi_idl_service_object_type service,
                                              qmi_idl_type_of_message message_type,
                                              std::uint16_t message_id,
                                              std::uint32_t* c_struct_len) {
  if (c_struct_len == nullptr) return QMI_IDL_PARAMETER_ERROR;
  idl::message_table from;
  const auto error = idl::find_table(service, message_type, message_id, from);
  if (error == QMI_NO_ERR) *c_struct_len = from.message->c_struct_size;
  return error;
}
