#include "services/vendor_stats_v01.h"

#include "services/service_rows.h"

namespace {

constexpr std::uint16_t max_message = 10672;

constexpr std::uint8_t entry_layout[] = {
    0x01, 0x00,                          // u16 sub
    0x01, 0x02,                          // u16 number
    0x02, 0x04,                          // u32 id
    0x70, 0x0C, 0xBC, 0x02, 0x04, 0x20,  // up to 700 bytes after data_len, a u16 on the wire
};

constexpr std::uint8_t feature_req[] = {
    0x01, 0x02, 0x00,        // 0x01: u32 feature
    0x41, 0x10, 0x00, 0x05,  // 0x10, optional: u8 enable
    0xC1, 0x11, 0x00, 0x07,  // 0x11, optional, last: u8 option
};
constexpr std::uint8_t feature_resp[] = {
    0x82, 0x07, 0x00, 0x00, 0x01,  // 0x02, last: standard response
};
constexpr std::uint8_t feature_ind[] = {
    0x81, 0x02, 0x00,  // 0x01, last: u32 enabled
};
constexpr std::uint8_t get_req[] = {
    0x01, 0x01, 0x00,              // 0x01: u16 sub
    0x02, 0x01, 0x02,              // 0x02: u16 number
    0x83, 0x52, 0x08, 0x0A, 0x04,  // 0x03, last: up to 10 u32 ids after ids_len
};
constexpr std::uint8_t get_resp[] = {
    0x02, 0x07, 0x00, 0x00, 0x01,                    // 0x02: standard response
    0xC8, 0x10, 0x57, 0x10, 0x0A, 0x04, 0x00, 0x00,  // 0x10, optional, last: up to 10 entries
};

constexpr qmi_idl_type_table_entry types[] = {{sizeof(vendor_stats_entry_v01), entry_layout}};

enum message : std::uint16_t {
  feature_request,
  feature_response,
  feature_indication,
  get_request,
  get_response,
  empty,
};
constexpr qmi_idl_message_table_entry messages[] = {
    {sizeof(vendor_stats_feature_req_v01), feature_req},
    {sizeof(vendor_stats_feature_resp_v01), feature_resp},
    {sizeof(vendor_stats_feature_ind_v01), feature_ind},
    {sizeof(vendor_stats_get_req_v01), get_req},
    {sizeof(vendor_stats_get_resp_v01), get_resp},
    {0, nullptr},
};

constexpr services::type_table table(types, messages);

constexpr qmi_idl_service_message_table_entry used_requests[] = {
    {vendor_stats_feature_v01, feature_request, 15},
    {vendor_stats_get_v01, get_request, 54},
};
constexpr qmi_idl_service_message_table_entry used_responses[] = {
    {vendor_stats_feature_v01, feature_response, 7},
    {vendor_stats_get_v01, get_response, 7111},
};
constexpr qmi_idl_service_message_table_entry used_indications[] = {
    {vendor_stats_feature_v01, feature_indication, 7},
};

constexpr auto requests = services::with_reserved<24>(used_requests, empty);
constexpr auto responses = services::with_reserved<24>(used_responses, empty);
constexpr auto indications = services::with_reserved<4>(used_indications, empty);

constexpr qmi_idl_service_object service_object = services::make_object(
    vendor_stats_service_id_v01, max_message,
    {.requests = requests, .responses = responses, .indications = indications}, table);

}  // namespace

qmi_idl_service_object_type vendor_stats_get_service_object_internal_v01(
    std::int32_t idl_major, std::int32_t idl_minor, std::int32_t library_version) {
  return services::if_version(service_object, idl_major, idl_minor, library_version);
}
