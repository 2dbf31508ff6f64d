#include "services/norvel_extend_qmi_v01.h"

#include "services/service_rows.h"

namespace {

constexpr std::uint16_t max_message = 529;

constexpr std::uint8_t message_layout[] = {
    0x01, 0x02, 0x00,                    // 0x01: u32 type
    0x02, 0x02, 0x04,                    // 0x02: u32 data_len
    0xC1, 0x10, 0x60, 0x09, 0x00, 0x02,  // 0x10, optional, last: 512 bytes after data_valid
};

constexpr qmi_idl_message_table_entry messages[] = {
    {sizeof(norvel_extend_qmi_msg_v01), message_layout},
};

constexpr services::type_table table({}, messages);

constexpr qmi_idl_service_message_table_entry commands[] = {
    {norvel_extend_qmi_request_v01, 0, max_message},
    {norvel_extend_qmi_message_3_v01, 0, max_message},
};
constexpr qmi_idl_service_message_table_entry indications[] = {
    {norvel_extend_qmi_message_3_v01, 0, max_message},
};

constexpr qmi_idl_service_object service_object = services::make_object(
    norvel_extend_qmi_service_id_v01, max_message,
    {.requests = commands, .responses = commands, .indications = indications}, table);

}  // namespace

qmi_idl_service_object_type norvel_extend_qmi_get_service_object_internal_v01(
    std::int32_t idl_major, std::int32_t idl_minor, std::int32_t library_version) {
  return services::if_version(service_object, idl_major, idl_minor, library_version);
}
