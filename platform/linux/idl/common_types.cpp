// Table 1 of every service: the IDL types that all services share.
#include <cstdint>

#include "platform/qmi_idl.h"

namespace {

constexpr std::uint8_t standard_response[] = {
    0x05, 0x00,  // result: 16 bits, an enumeration in C
    0x05, 0x04,  // error
    0x20,
};
constexpr qmi_idl_type_table_entry types[] = {{sizeof(qmi_response_type_v01), standard_response}};

// Get supported messages (0x001E) and get supported fields (0x001F). None of our services uses
// them, so they have no encoding.
const qmi_idl_type_table_object* const referenced_tables[] = {
    &common_qmi_idl_type_table_object_v01};

}  // namespace

const qmi_idl_type_table_object common_qmi_idl_type_table_object_v01 = {
    .n_types = 1,
    .n_messages = 0,
    .n_referenced_tables = 1,
    .types = types,
    .messages = nullptr,
    .referenced_tables = referenced_tables,
    .range_checkers = nullptr,
};
