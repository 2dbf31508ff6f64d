// Whatever bytes a modem sends, decoding reads and writes within bounds: AddressSanitizer watches a
// destination of exactly the size in the tables.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/linux/idl/codec.h"
#include "services/norvel_extend_qmi_v01.h"
#include "services/pdc_v01.h"
#include "services/uim_v01.h"
#include "services/vendor_stats_v01.h"

namespace {

void decode_all(qmi_idl_service_object_type service, std::span<const std::uint8_t> tlvs) {
  for (const auto kind : {QMI_IDL_REQUEST, QMI_IDL_RESPONSE, QMI_IDL_INDICATION}) {
    for (const auto& row : std::span(service->msgs[kind], service->n_msgs[kind])) {
      std::uint32_t size = 0;
      if (qmi_idl_get_message_c_struct_len(service, kind, row.qmi_message_id, &size) != 0) {
        __builtin_trap();
      }
      std::vector<std::uint8_t> c_struct(size);
      static_cast<void>(idl::decode(service, kind, row.qmi_message_id, tlvs, c_struct));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  decode_all(norvel_extend_qmi_get_service_object_internal_v01(1, 1, 6), {data, size});
  decode_all(pdc_get_service_object_internal_v01(1, 1, 6), {data, size});
  decode_all(uim_get_service_object_internal_v01(1, 1, 6), {data, size});
  decode_all(vendor_stats_get_service_object_internal_v01(1, 1, 6), {data, size});
  return 0;
}
