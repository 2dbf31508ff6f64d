// The vendor's statistics service: a switch for the statistics feature, and statistics records by
// data id.
//   0x0003  request   TLV 0x01 u32 feature; TLVs 0x10 and 0x11, optional, u8
//           response  TLV 0x02 standard response
//           indication TLV 0x01 u32: whether the feature is on
//   0x0207  request   TLV 0x01 u16 subscription; TLV 0x02 u16 number of the request;
//                     TLV 0x03 u8 count, u32 data ids
//           response  TLV 0x02 standard response; TLV 0x10, optional, u8 count, entries of
//                     u16 subscription, u16, u32 data id, u16 data length, data
// The data of the entries are the records of modem_stats/records.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/qmi_idl.h"

constexpr std::uint32_t vendor_stats_service_id_v01 = 0xE4;

constexpr std::uint16_t vendor_stats_feature_v01 = 0x0003;
constexpr std::uint16_t vendor_stats_get_v01 = 0x0207;

constexpr std::uint32_t vendor_stats_max_ids_v01 = 10;
constexpr std::uint32_t vendor_stats_max_data_v01 = 700;

/// The feature number of statistics collection.
constexpr std::uint32_t vendor_stats_collection_v01 = 2;

struct vendor_stats_feature_req_v01 {
  std::uint32_t feature;
  std::uint8_t enable_valid;
  std::uint8_t enable;  ///< 1 on, 0 off
  std::uint8_t option_valid;
  std::uint8_t option;  ///< sent as 0
};
static_assert(sizeof(vendor_stats_feature_req_v01) == 8);

struct vendor_stats_feature_resp_v01 {
  qmi_response_type_v01 resp;
};

struct vendor_stats_feature_ind_v01 {
  std::uint32_t enabled;
};

struct vendor_stats_get_req_v01 {
  std::uint16_t sub;     ///< 0 or 1
  std::uint16_t number;  ///< the requester's count of requests
  std::uint32_t ids_len;
  std::uint32_t ids[vendor_stats_max_ids_v01];
};
static_assert(sizeof(vendor_stats_get_req_v01) == 48);

struct vendor_stats_entry_v01 {
  std::uint16_t sub;
  std::uint16_t number;  ///< the request's; ignored
  std::uint32_t id;
  std::uint32_t data_len;  ///< bytes
  std::uint8_t data[vendor_stats_max_data_v01];
};
static_assert(sizeof(vendor_stats_entry_v01) == 712);

struct vendor_stats_get_resp_v01 {
  qmi_response_type_v01 resp;
  std::uint8_t entries_valid;
  std::uint32_t entries_len;
  vendor_stats_entry_v01 entries[vendor_stats_max_ids_v01];
};
static_assert(sizeof(vendor_stats_get_resp_v01) == 7136);
static_assert(offsetof(vendor_stats_get_resp_v01, entries) == 16);

/// Null when a number differs from those the tables were made for.
qmi_idl_service_object_type vendor_stats_get_service_object_internal_v01(
    std::int32_t idl_major, std::int32_t idl_minor, std::int32_t library_version);
