// Whatever bytes a modem sends, decoding reads and writes within bounds: AddressSanitizer watches a
// destination of exactly the size that the tables tell.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/linux/idl/codec.h"
#include "services/norvel_extend_qmi_v01.h"
#include "support/test_service.h"

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

/// Aggregates in arrays, arrays with long counts, enumerations: what the extension service lacks.
const support::test_service& statistics_service() {
  static const support::test_service service(
      "7136: 02 07 00 00 01  c8 10 57 10 0a 04 00 00; 712: 01 00  01 02  02 04  70 0c bc 02 04  "
      "20");
  return service;
}
const support::test_service& list_service() {
  static const support::test_service service(
      "3324: 01 05 00  44 10 02 08  48 11 57 14 19 04 00 00  c1 e0 80 f9 0c;"
      "132: 02 00  50 08 7c 04  20");
  return service;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  decode_all(norvel_extend_qmi_get_service_object_internal_v01(1, 1, QMI_IDL_LIBRARY_VERSION),
             {data, size});
  decode_all(statistics_service().get(), {data, size});
  decode_all(list_service().get(), {data, size});
  return 0;
}
