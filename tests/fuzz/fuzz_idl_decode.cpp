// Whatever bytes a modem sends, decoding reads and writes within bounds: AddressSanitizer watches a
// destination of exactly the size in the tables. The first byte chooses the message.
#include <cstddef>
#include <cstdint>
#include <span>
#include <tuple>
#include <vector>

#include "platform/linux/idl/codec.h"
#include "services/norvel_extend_qmi_v01.h"
#include "services/pdc_v01.h"
#include "services/service_rows.h"
#include "services/uim_v01.h"
#include "services/vendor_stats_v01.h"

namespace {

using message = std::tuple<qmi_idl_service_object_type, qmi_idl_type_of_message, std::uint16_t>;

std::vector<message> all_messages() {
  std::vector<message> all;
  for (const auto* service :
       {norvel_extend_qmi_get_service_object_internal_v01(1, 1, 6),
        pdc_get_service_object_internal_v01(1, 1, 6), uim_get_service_object_internal_v01(1, 1, 6),
        vendor_stats_get_service_object_internal_v01(1, 1, 6)}) {
    for (const auto kind : {QMI_IDL_REQUEST, QMI_IDL_RESPONSE, QMI_IDL_INDICATION}) {
      for (const auto& row : std::span(service->msgs[kind], service->n_msgs[kind])) {
        if (row.qmi_message_id == services::reserved_message_id) break;  // so are the others
        all.emplace_back(service, kind, row.qmi_message_id);
      }
    }
  }
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<message> messages = all_messages();
  if (size == 0) return 0;
  const auto& [service, kind, id] = messages.at(data[0] % messages.size());
  std::uint32_t length = 0;
  if (qmi_idl_get_message_c_struct_len(service, kind, id, &length) != 0) __builtin_trap();
  std::vector<std::uint8_t> c_struct(length);
  static_cast<void>(idl::decode(service, kind, id, {data + 1, size - 1}, c_struct));
  return 0;
}
