#include "norvel_extend_qmi/norvel_extend_nvefs.h"

#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "qcril-common/utilities/norvel_ril_log.h"

namespace {

constexpr char log_source[] = "norvel_extend_nvefs";

int map_result(int old_result) {
  switch (old_result) {
    case norvel_extend_invalid_argument:
      return -101;
    case norvel_extend_no_client:
      return -102;
    case norvel_extend_exchange_failed:
      return -103;
    default:
      return old_result;
  }
}

}  // namespace

int norvel_qmi_result_map(int old_result) {
  const int new_result = map_result(old_result);
  NORVEL_LOG("norvel_qmi_result_map, old_result %d, new_result %d", old_result, new_result);
  return new_result;
}
