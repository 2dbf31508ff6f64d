#include "services/sar_v01.h"

#include "services/service_rows.h"

namespace {

/// The longest message is a list of supported messages: 7 + 5 + 8192 bytes.
constexpr std::uint16_t max_message = 8204;

constexpr std::uint8_t rf_get_state_resp[] = {
    0x02, 0x07, 0x00, 0x00, 0x01,  // 0x02: standard response
    0xC4, 0x10, 0x02, 0x0C,        // 0x10, optional, last: u32 state
};

constexpr qmi_idl_message_table_entry messages[] = {
    {0, nullptr},
    {sizeof(sar_rf_get_state_resp_v01), rf_get_state_resp},
};

constexpr services::type_table table({}, messages);

constexpr qmi_idl_service_message_table_entry used_requests[] = {{sar_rf_get_state_v01, 0, 0}};
constexpr qmi_idl_service_message_table_entry used_responses[] = {{sar_rf_get_state_v01, 1, 14}};

constexpr auto requests = services::with_reserved<13>(used_requests, 0);
constexpr auto responses = services::with_reserved<13>(used_responses, 0);
constexpr auto indications = services::with_reserved<1>({}, 0);

constexpr qmi_idl_service_object service_object = services::make_object(
    sar_service_id_v01, max_message,
    {.requests = requests, .responses = responses, .indications = indications}, table);

}  // namespace

qmi_idl_service_object_type sar_get_service_object_internal_v01(std::int32_t idl_major,
                                                                std::int32_t idl_minor,
                                                                std::int32_t library_version) {
  return services::if_version(service_object, idl_major, idl_minor, library_version);
}
