// NV items: one exchange each.
#include <algorithm>
#include <cstring>

#include "norvel_extend_qmi/norvel_extend_nvefs.h"
#include "norvel_extend_qmi/nvefs_exchange.h"
#include "platform/mutex.h"
#include "qcril-common/utilities/norvel_ril_log.h"

namespace {

constexpr char log_source[] = "norvel_extend_nvefs";

platform::mutex g_nv_lock;

/// Checks the item's number and makes the exchange.
int exchange_item(const char* function, nvefs_request& request, int nv_id,
                  nvefs_response& response) {
  if (nv_id < 0 || nv_id > norvel_nv_max_id) {
    NORVEL_LOG_AS(function, "nv_id is out range(%d)", nv_id);
    return norvel_nvefs_nv_id_out_of_range;
  }
  request.nv_id = static_cast<std::uint16_t>(nv_id);
  return nvefs_exchange(function, request, response);
}

nvefs_request make_request(nvefs_operation operation, unsigned int sub_id) {
  nvefs_request request{};
  request.operation = operation;
  request.sub_id = sub_id == 0 ? 0 : 1;
  return request;
}

}  // namespace

int norvel_nv_read(unsigned int sub_id, int nv_id, unsigned char* buf, unsigned int* buf_len) {
  NORVEL_LOG_SCOPE();
  const platform::mutex_lock hold(g_nv_lock);
  NORVEL_LOG("norvel_nv_read, sub_id %d, nv_id: %d", static_cast<int>(sub_id), nv_id);
  nvefs_request request = make_request(nvefs_nv_read, sub_id);
  nvefs_response response{};
  if (const int error = exchange_item(__func__, request, nv_id, response); error != 0) {
    return error;
  }
  NORVEL_LOG("rsp.data_len_all = %d", static_cast<int>(response.data_len_all));
  if (response.data_len_all == 0) {
    NORVEL_LOG("rsp.data_len_all is invalid");
    return norvel_nvefs_buf_len_invalid;
  }
  *buf_len = std::min(response.data_len_all, norvel_nv_max_data);
  std::memcpy(buf, response.data, *buf_len);
  return 0;
}

int norvel_nv_write_ex(unsigned int sub_id, int nv_id, const unsigned char* buf,
                       unsigned int buf_len) {
  NORVEL_LOG_SCOPE();
  const platform::mutex_lock hold(g_nv_lock);
  NORVEL_LOG("norvel_nv_write, sub_id %d, nv_id: %d, buf_len: %d", static_cast<int>(sub_id), nv_id,
             static_cast<int>(buf_len));
  if (buf_len == 0 || buf_len > norvel_nv_max_data) {
    NORVEL_LOG("buf_len is invalid");
    return norvel_nvefs_buf_len_invalid;
  }
  nvefs_request request = make_request(nvefs_nv_write, sub_id);
  request.data_len_all = buf_len;
  std::memcpy(request.data, buf, buf_len);
  nvefs_response response{};
  return exchange_item(__func__, request, nv_id, response);
}

int norvel_nv_delete(unsigned int sub_id, int nv_id) {
  NORVEL_LOG_SCOPE();
  const platform::mutex_lock hold(g_nv_lock);
  NORVEL_LOG("norvel_nv_delete, sub_id %d, nv_id: %d", static_cast<int>(sub_id), nv_id);
  nvefs_request request = make_request(nvefs_nv_delete, sub_id);
  nvefs_response response{};
  return exchange_item(__func__, request, nv_id, response);
}
