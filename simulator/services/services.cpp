#include "simulator/services/services.h"

#include <initializer_list>
#include <vector>

#include "services/nas_v01.h"
#include "services/norvel_extend_qmi_v01.h"
#include "services/pdc_v01.h"
#include "services/sar_v01.h"
#include "services/uim_v01.h"
#include "services/vendor_stats_v01.h"
#include "simulator/services/extension.h"
#include "simulator/services/messages.h"

namespace sim {
namespace {

// The services that the tool does not know.
constexpr std::uint32_t wds_service_id = 0x01;
constexpr std::uint32_t dms_service_id = 0x02;
constexpr std::uint32_t wda_service_id = 0x1A;

/// The messages of a service that is answered in several files.
std::vector<message_row> joined(std::initializer_list<std::span<const message_row>> parts) {
  std::vector<message_row> all;
  for (const auto& each : parts) all.insert(all.end(), each.begin(), each.end());
  return all;
}
const std::vector<message_row> uim = joined({uim_messages(), uim_file_messages()});
const std::vector<message_row> nas = joined({nas_messages(), nas_signal_messages()});

// A service's port is its place in this table: new ones go to the end.
const service_row services[] = {
    {"extension", norvel_extend_qmi_service_id_v01, 1, extension_result_tlv, extension_messages()},
    {"sar", sar_service_id_v01, 1, no_result_tlv, sar_messages()},
    {"uim", uim_service_id_v01, 1, no_result_tlv, uim},
    {"pdc", pdc_service_id_v01, 1, no_result_tlv, pdc_messages()},
    {"nas", nas_service_id_v01, 1, no_result_tlv, nas},
    {"statistics", vendor_stats_service_id_v01, 1, no_result_tlv, statistics_messages()},
    {"dms", dms_service_id, 1, no_result_tlv, dms_messages()},
    {"wds", wds_service_id, 1, no_result_tlv, wds_messages()},
    {"wda", wda_service_id, 1, no_result_tlv, wda_messages()},
};

}  // namespace

std::span<const service_row> all_services() {
  return services;
}

}  // namespace sim
