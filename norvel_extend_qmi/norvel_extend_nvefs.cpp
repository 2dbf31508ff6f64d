#include "norvel_extend_qmi/norvel_extend_nvefs.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "norvel_extend_qmi/norvel_extend_client.h"
#include "norvel_extend_qmi/norvel_extend_nvefs_message.h"
#include "platform/mutex.h"
#include "qcril-common/utilities/norvel_ril_log.h"

namespace {

constexpr unsigned int max_chunk = 414;
constexpr unsigned int max_exchanges = 299;

/// Held for a whole transfer, so that chunks of different files never interleave.
platform::mutex g_efs_lock;
platform::mutex g_nv_lock;

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

/// Sends one request. Returns 0 when both client and modem report success, otherwise the mapped
/// client result or the modem's result.
int exchange(const char* function, const nvefs_request& request, nvefs_response& response) {
  nvefs_request sent = request;
  response = {};
  unsigned int capacity = sizeof response;
  const int result = norvel_qmi_result_map(
      norvel_extend_qmi_send_sync(nvefs_request_type, reinterpret_cast<unsigned char*>(&sent),
                                  sizeof sent, &response, &capacity));
  NORVEL_LOG_AS(function, "result = %d, rsp.result = %d", result, response.result);
  if (result != 0 && request.operation == nvefs_efs_read) {
    NORVEL_LOG_AS(function, "norvel_extend_qmi_send_sync fail, ABORT");
    return result;
  }
  if (result != 0) {
    NORVEL_LOG_AS(function, "norvel_extend_qmi_send_sync fail");
    return result;
  }
  if (response.result != 0) NORVEL_LOG_AS(function, "qmi response fail");
  return response.result;
}

// EFS files, transferred in chunks.

/// The log line carries the line number of the check that failed.
int refuse(norvel_log_site check, const char* why, norvel_nvefs_result code) {
  norvel_log(check, "%s", why);
  return code;
}

struct efs_file {
  unsigned int sub_id;
  const char* path;
  unsigned int path_len;
};

int check_file(const char* function, const efs_file& file, unsigned int max_path_len) {
  if (file.sub_id >= 2) {
    return refuse(NORVEL_LOG_SITE(function), "sub invalid", norvel_nvefs_sub_invalid);
  }
  if (file.path == nullptr) {
    return refuse(NORVEL_LOG_SITE(function), "efs_path is null", norvel_nvefs_path_is_null);
  }
  if (file.path_len < 1 || file.path_len > max_path_len) {
    return refuse(NORVEL_LOG_SITE(function), "len invalid", norvel_nvefs_path_len_invalid);
  }
  return 0;
}

nvefs_request make_efs_request(const char* function, nvefs_operation operation,
                               const efs_file& file) {
  NORVEL_LOG_AS(function, "path_value: %s", std::string(file.path, file.path_len).c_str());
  nvefs_request request{};
  request.operation = operation;
  request.path_len = static_cast<std::uint8_t>(file.path_len);
  std::memcpy(request.path, file.path, file.path_len);
  return request;
}

bool is_transfer_over(unsigned int moved, unsigned int file_len, unsigned int exchanges) {
  return exchanges >= max_exchanges || moved >= file_len || moved >= norvel_efs_max_file;
}

int read_chunks(const char* function, nvefs_request& request, unsigned char* buf,
                unsigned int& buf_len) {
  const unsigned int capacity = buf_len;
  nvefs_response response{};
  for (unsigned int read_count = 1;; ++read_count) {
    if (const int error = exchange(function, request, response); error != 0) {
      return error;
    }
    const unsigned int offset = request.data_len_cur;
    // Never more than a response holds, even if the modem claims so.
    const unsigned int chunk = std::min(response.data_len, nvefs_data_room);
    const unsigned int received = offset + chunk;
    NORVEL_LOG_AS(function,
                  "data_len_all = %d, data_len_send = %d, data_len_recv = %d, read_count = %d, "
                  "data_len_cur = %d",
                  static_cast<int>(response.data_len_all), static_cast<int>(chunk),
                  static_cast<int>(received), static_cast<int>(read_count),
                  static_cast<int>(offset));
    std::memcpy(buf + offset, response.data, std::min(chunk, capacity - offset));
    buf_len = std::min(received, capacity);
    if (chunk == 0) {
      NORVEL_LOG_AS(function, "abort, data_len_send <= 0");
      return 0;
    }
    if (received >= capacity) {
      NORVEL_LOG_AS(function, "abort, buf_len <= data_len_recv");
      return 0;
    }
    request.data_len_cur = received;
    if (is_transfer_over(received, response.data_len_all, read_count)) return 0;
  }
}

int write_chunks(const char* function, nvefs_request& request, const unsigned char* buf,
                 unsigned int buf_len) {
  request.data_len_all = buf_len;
  nvefs_response response{};
  for (unsigned int send_count = 1;; ++send_count) {
    const unsigned int offset = request.data_len_cur;
    const unsigned int left = buf_len - offset;
    request.send_num = std::min(left, max_chunk);
    NORVEL_LOG_AS(function, "left_num(%d)", static_cast<int>(left));
    NORVEL_LOG_AS(function, "send_num(%d)", static_cast<int>(request.send_num));
    std::memcpy(request.data, buf + offset, request.send_num);
    if (const int error = exchange(function, request, response); error != 0) return error;
    const unsigned int sent = offset + request.send_num;
    NORVEL_LOG_AS(function,
                  "data_len_all = %d, data_len_send = %d, data_len_recv = %d, send_count = %d, "
                  "data_len_cur = %d",
                  static_cast<int>(buf_len), static_cast<int>(request.send_num),
                  static_cast<int>(sent), static_cast<int>(send_count), static_cast<int>(offset));
    request.data_len_cur = sent;
    if (is_transfer_over(sent, buf_len, send_count)) return 0;
  }
}

int read_file(const char* function, const efs_file& file, unsigned char* buf,
              unsigned int* p_buf_len) {
  const platform::mutex_lock hold(g_efs_lock);
  NORVEL_LOG_AS(function, "norvel_efs_read, sub_id %d, path_len: %d", static_cast<int>(file.sub_id),
                static_cast<int>(file.path_len));
  if (const int error = check_file(function, file, nvefs_max_path); error != 0) return error;
  if (buf == nullptr)
    return refuse(NORVEL_LOG_SITE(function), "buf is null", norvel_nvefs_buf_is_null);
  if (p_buf_len == nullptr) {
    return refuse(NORVEL_LOG_SITE(function), "p_buf_len is null", norvel_nvefs_buf_len_invalid);
  }
  NORVEL_LOG_AS(function, "buf_len: %d", static_cast<int>(*p_buf_len));
  if (*p_buf_len == 0)
    return refuse(NORVEL_LOG_SITE(function), "buf_len is invalid", norvel_nvefs_buf_len_invalid);
  nvefs_request request = make_efs_request(function, nvefs_efs_read, file);
  request.sub_id = static_cast<std::uint8_t>(file.sub_id);
  return read_chunks(function, request, buf, *p_buf_len);
}

int write_file(const char* function, const efs_file& file, const unsigned char* buf,
               unsigned int buf_len) {
  const platform::mutex_lock hold(g_efs_lock);
  NORVEL_LOG_AS(function, "norvel_efs_write, sub_id %d, path_len: %d, buf_len: %d",
                static_cast<int>(file.sub_id), static_cast<int>(file.path_len),
                static_cast<int>(buf_len));
  if (const int error = check_file(function, file, nvefs_max_path - 1); error != 0) return error;
  if (buf == nullptr)
    return refuse(NORVEL_LOG_SITE(function), "buf is null", norvel_nvefs_buf_is_null);
  if (buf_len == 0 || buf_len > norvel_efs_max_file) {
    return refuse(NORVEL_LOG_SITE(function), "buf_len is invalid", norvel_nvefs_buf_len_invalid);
  }
  nvefs_request request = make_efs_request(function, nvefs_efs_write, file);
  request.sub_id = static_cast<std::uint8_t>(file.sub_id);
  return write_chunks(function, request, buf, buf_len);
}

int delete_file(const char* function, const efs_file& file) {
  const platform::mutex_lock hold(g_efs_lock);
  NORVEL_LOG_AS(function, "norvel_efs_delete, sub_id %d, path_len: %d",
                static_cast<int>(file.sub_id), static_cast<int>(file.path_len));
  if (const int error = check_file(function, file, nvefs_max_path - 1); error != 0) return error;
  // sic: the subscription byte stays 0, so files are always deleted on subscription 0.
  const nvefs_request request = make_efs_request(function, nvefs_efs_delete, file);
  nvefs_response response{};
  return exchange(function, request, response);
}

// NV items: one exchange per operation.

/// Checks the item's number and runs the exchange.
int exchange_item(const char* function, nvefs_request& request, int nv_id,
                  nvefs_response& response) {
  if (nv_id < 0 || nv_id > norvel_nv_max_id) {
    NORVEL_LOG_AS(function, "nv_id is out range(%d)", nv_id);
    return norvel_nvefs_nv_id_out_of_range;
  }
  request.nv_id = static_cast<std::uint16_t>(nv_id);
  return exchange(function, request, response);
}

nvefs_request make_nv_request(nvefs_operation operation, unsigned int sub_id) {
  nvefs_request request{};
  request.operation = operation;
  request.sub_id = sub_id == 0 ? 0 : 1;
  return request;
}

int read_item(const char* function, unsigned int sub_id, int nv_id, unsigned char* buf,
              unsigned int* buf_len) {
  const platform::mutex_lock hold(g_nv_lock);
  NORVEL_LOG_AS(function, "norvel_nv_read, sub_id %d, nv_id: %d", static_cast<int>(sub_id), nv_id);
  nvefs_request request = make_nv_request(nvefs_nv_read, sub_id);
  nvefs_response response{};
  if (const int error = exchange_item(function, request, nv_id, response); error != 0) {
    return error;
  }
  NORVEL_LOG_AS(function, "rsp.data_len_all = %d", static_cast<int>(response.data_len_all));
  if (response.data_len_all == 0) {
    NORVEL_LOG_AS(function, "rsp.data_len_all is invalid");
    return norvel_nvefs_buf_len_invalid;
  }
  *buf_len = std::min(response.data_len_all, norvel_nv_max_data);
  std::memcpy(buf, response.data, *buf_len);
  return 0;
}

int write_item(const char* function, unsigned int sub_id, int nv_id, const unsigned char* buf,
               unsigned int buf_len) {
  const platform::mutex_lock hold(g_nv_lock);
  NORVEL_LOG_AS(function, "norvel_nv_write, sub_id %d, nv_id: %d, buf_len: %d",
                static_cast<int>(sub_id), nv_id, static_cast<int>(buf_len));
  if (buf_len == 0 || buf_len > norvel_nv_max_data) {
    NORVEL_LOG_AS(function, "buf_len is invalid");
    return norvel_nvefs_buf_len_invalid;
  }
  nvefs_request request = make_nv_request(nvefs_nv_write, sub_id);
  request.data_len_all = buf_len;
  std::memcpy(request.data, buf, buf_len);
  nvefs_response response{};
  return exchange_item(function, request, nv_id, response);
}

int delete_item(const char* function, unsigned int sub_id, int nv_id) {
  const platform::mutex_lock hold(g_nv_lock);
  NORVEL_LOG_AS(function, "norvel_nv_delete, sub_id %d, nv_id: %d", static_cast<int>(sub_id),
                nv_id);
  nvefs_request request = make_nv_request(nvefs_nv_delete, sub_id);
  nvefs_response response{};
  return exchange_item(function, request, nv_id, response);
}

}  // namespace

int norvel_qmi_result_map(int old_result) {
  const int new_result = map_result(old_result);
  NORVEL_LOG("norvel_qmi_result_map, old_result %d, new_result %d", old_result, new_result);
  return new_result;
}

int norvel_efs_read(unsigned int sub_id, const char* path, unsigned int path_len,
                    unsigned char* buf, unsigned int* p_buf_len) {
  NORVEL_LOG_ENTRY();
  const int result = read_file(__func__, {sub_id, path, path_len}, buf, p_buf_len);
  NORVEL_LOG_EXIT();
  return result;
}

int norvel_efs_write(unsigned int sub_id, const char* path, unsigned int path_len,
                     const unsigned char* buf, unsigned int buf_len) {
  NORVEL_LOG_ENTRY();
  const int result = write_file(__func__, {sub_id, path, path_len}, buf, buf_len);
  NORVEL_LOG_EXIT();
  return result;
}

int norvel_efs_delete(unsigned int sub_id, const char* path, unsigned int path_len) {
  NORVEL_LOG_ENTRY();
  const int result = delete_file(__func__, {sub_id, path, path_len});
  NORVEL_LOG_EXIT();
  return result;
}

int norvel_nv_read(unsigned int sub_id, int nv_id, unsigned char* buf, unsigned int* buf_len) {
  NORVEL_LOG_ENTRY();
  const int result = read_item(__func__, sub_id, nv_id, buf, buf_len);
  NORVEL_LOG_EXIT();
  return result;
}

int norvel_nv_write_ex(unsigned int sub_id, int nv_id, const unsigned char* buf,
                       unsigned int buf_len) {
  NORVEL_LOG_ENTRY();
  const int result = write_item(__func__, sub_id, nv_id, buf, buf_len);
  NORVEL_LOG_EXIT();
  return result;
}

int norvel_nv_delete(unsigned int sub_id, int nv_id) {
  NORVEL_LOG_ENTRY();
  const int result = delete_item(__func__, sub_id, nv_id);
  NORVEL_LOG_EXIT();
  return result;
}
