// QMI IDL service objects, library version 6: the tables from which the QMI client library encodes
// and decodes messages. Layouts are those of the phone's IDL runtime (LP64), and are checked below.
//
// A byte string describes a message. For each TLV it holds a flag byte, the type byte if the TLV is
// optional, and one element:
//   flag byte     0x80 last TLV, 0x40 optional, 0x0F mandatory: TLV type, optional: distance from
//                 the valid byte to the data
//   element       flags, offset, [array size], [length distance], [aggregate type]
//   element flags 0x80 offset is 16 bits, 0x40 array, 0x20 array count is 16 bits, 0x10 variable
//                 length, 0x08 a second flag byte follows, 0x07 element type
// An aggregate's own string is a sequence of elements ended by 0x20.
#pragma once

#include <cstddef>
#include <cstdint>

#define QMI_IDL_LIBRARY_VERSION 6

enum qmi_idl_type_of_message {
  QMI_IDL_REQUEST = 0,
  QMI_IDL_RESPONSE = 1,
  QMI_IDL_INDICATION = 2,
  QMI_IDL_NUM_MSG_TYPES = 3,
};

/// A type or a message: the size of its C structure in bytes, and its byte string (null if empty).
struct qmi_idl_type_table_entry {
  uint32_t c_struct_size;
  const uint8_t* encoded;
};
using qmi_idl_message_table_entry = qmi_idl_type_table_entry;

struct qmi_idl_type_table_object {
  uint16_t n_types;
  uint16_t n_messages;
  uint8_t n_referenced_tables;
  const qmi_idl_type_table_entry* types;
  const qmi_idl_message_table_entry* messages;
  const qmi_idl_type_table_object* const*
      referenced_tables;  ///< [0] this table, [1] the common one
  const void* range_checkers;
};

/// Sorted by message id within a service object, for binary search.
struct qmi_idl_service_message_table_entry {
  uint16_t qmi_message_id;
  uint16_t message_index;  ///< (table index << 12) | index into that table's messages
  uint16_t max_msg_len;    ///< TLV bytes
};

struct qmi_idl_service_object {
  uint32_t library_version;
  uint32_t idl_version;
  uint32_t service_id;
  uint32_t max_msg_len;  ///< TLV bytes
  uint16_t n_msgs[QMI_IDL_NUM_MSG_TYPES];
  const qmi_idl_service_message_table_entry* msgs[QMI_IDL_NUM_MSG_TYPES];
  const qmi_idl_type_table_object* p_type_table;
  uint32_t idl_minor_version;
  const qmi_idl_service_object* parent_service_obj;
};
using qmi_idl_service_object_type = const qmi_idl_service_object*;

static_assert(sizeof(void*) != 8 || sizeof(qmi_idl_service_object) == 72);
static_assert(sizeof(void*) != 8 || offsetof(qmi_idl_service_object, msgs) == 24);
static_assert(sizeof(void*) != 8 || offsetof(qmi_idl_service_object, parent_service_obj) == 64);
static_assert(sizeof(void*) != 8 || offsetof(qmi_idl_type_table_object, range_checkers) == 32);
static_assert(sizeof(void*) != 8 || sizeof(qmi_idl_type_table_entry) == 16);
static_assert(sizeof(qmi_idl_service_message_table_entry) == 6);

/// The standard response, with which every response's C structure begins: result 0 (success) or 1
/// (failure), and the QMI error code. On the wire it is two 16-bit words.
struct qmi_response_type_v01 {
  int32_t result;
  int32_t error;
};
static_assert(sizeof(qmi_response_type_v01) == 8);

extern "C" {
/// Table 1 of every service: type 0 is the standard response.
extern const qmi_idl_type_table_object common_qmi_idl_type_table_object_v01;

/// Writes the C structure size of a message, in bytes. Returns 0 or an IDL code (qmi_client.h).
int32_t qmi_idl_get_message_c_struct_len(qmi_idl_service_object_type service,
                                         qmi_idl_type_of_message message_type, uint16_t message_id,
                                         uint32_t* c_struct_len);
}
