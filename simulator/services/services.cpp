#include "simulator/services/services.h"

#include "simulator/services/dms.h"
#include "simulator/services/extension.h"
#include "simulator/services/nas.h"
#include "simulator/services/pdc.h"
#include "simulator/services/sar.h"
#include "simulator/services/statistics.h"
#include "simulator/services/uim.h"
#include "simulator/services/wda.h"
#include "simulator/services/wds.h"

namespace sim {
namespace {

// The services that the tool does not know.
constexpr std::uint32_t wds_service_id = 0x01;
constexpr std::uint32_t dms_service_id = 0x02;
constexpr std::uint32_t wda_service_id = 0x1A;

// A service's port is its place in this table: new ones go to the end.
const service_row services[] = {
    {"extension", norvel_extend_qmi_service_id_v01, 1, extension_result_tlv, extension_messages},
    {"sar", sar_service_id_v01, 1, no_result_tlv, sar_messages},
    {"uim", uim_service_id_v01, 1, no_result_tlv, uim_messages()},
    {"pdc", pdc_service_id_v01, 1, no_result_tlv, pdc_messages},
    {"nas", nas_service_id_v01, 1, no_result_tlv, nas_messages()},
    {"statistics", vendor_stats_service_id_v01, 1, no_result_tlv, statistics_messages},
    {"dms", dms_service_id, 1, no_result_tlv, dms_messages()},
    {"wds", wds_service_id, 1, no_result_tlv, wds_messages()},
    {"wda", wda_service_id, 1, no_result_tlv, wda_messages()},
};

}  // namespace

std::span<const service_row> all_services() {
  return services;
}

}  // namespace sim
