// EFS files: read, written and deleted in chunks.
#include "norvel_extend_qmi/norvel_extend_nvefs.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "norvel_extend_qmi/norvel_extend_cmn.h"
#include "norvel_extend_qmi/nvefs_exchange.h"
#include "platform/mutex.h"
#include "qcril-common/utilities/norvel_ril_log.h"

namespace {

constexpr char log_source[] = "norvel_extend_nvefs";

constexpr unsigned int max_chunk = 414;
constexpr unsigned int max_exchanges = 299;

/// Held for a whole transfer, so that chunks of two files never mix.
platform::mutex g_efs_lock;

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

int refuse(const char* function, const char* why, norvel_nvefs_result code) {
  NORVEL_LOG_AS(function, "%s", why);
  return code;
}

struct efs_file {
  unsigned int sub_id;
  const char* path;
  unsigned int path_len;
};

int check_file(const char* function, const efs_file& file, unsigned int max_path_len) {
  if (file.sub_id >= 2) return refuse(function, "sub invalid", norvel_nvefs_sub_invalid);
  if (file.path == nullptr) return refuse(function, "efs_path is null", norvel_nvefs_path_is_null);
  if (file.path_len < 1 || file.path_len > max_path_len) {
    return refuse(function, "len invalid", norvel_nvefs_path_len_invalid);
  }
  return 0;
}

nvefs_request make_request(const char* function, nvefs_operation operation, const efs_file& file) {
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
    if (const int error =
            nvefs_exchange(function, request, response, "norvel_extend_qmi_send_sync fail, ABORT");
        error != 0) {
      return error;
    }
    const unsigned int offset = request.data_len_cur;
    // No more than a response holds, whatever the modem says.
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
    if (const int error = nvefs_exchange(function, request, response); error != 0) return error;
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
  NORVEL_LOG_AS(function, "norvel_efs_read, sub_id %d, path_len: %d", static_cast<int>(file.sub_id),
                static_cast<int>(file.path_len));
  if (const int error = check_file(function, file, nvefs_max_path); error != 0) return error;
  if (buf == nullptr) return refuse(function, "buf is null", norvel_nvefs_buf_is_null);
  if (p_buf_len == nullptr) {
    return refuse(function, "p_buf_len is null", norvel_nvefs_buf_len_invalid);
  }
  NORVEL_LOG_AS(function, "buf_len: %d", static_cast<int>(*p_buf_len));
  if (*p_buf_len == 0) return refuse(function, "buf_len is invalid", norvel_nvefs_buf_len_invalid);
  nvefs_request request = make_request(function, nvefs_efs_read, file);
  request.sub_id = static_cast<std::uint8_t>(file.sub_id);
  return read_chunks(function, request, buf, *p_buf_len);
}

int write_file(const char* function, const efs_file& file, const unsigned char* buf,
               unsigned int buf_len) {
  NORVEL_LOG_AS(function, "norvel_efs_write, sub_id %d, path_len: %d, buf_len: %d",
                static_cast<int>(file.sub_id), static_cast<int>(file.path_len),
                static_cast<int>(buf_len));
  if (const int error = check_file(function, file, nvefs_max_path - 1); error != 0) return error;
  if (buf == nullptr) return refuse(function, "buf is null", norvel_nvefs_buf_is_null);
  if (buf_len == 0 || buf_len > norvel_efs_max_file) {
    return refuse(function, "buf_len is invalid", norvel_nvefs_buf_len_invalid);
  }
  nvefs_request request = make_request(function, nvefs_efs_write, file);
  request.sub_id = static_cast<std::uint8_t>(file.sub_id);
  return write_chunks(function, request, buf, buf_len);
}

int delete_file(const char* function, const efs_file& file) {
  NORVEL_LOG_AS(function, "norvel_efs_delete, sub_id %d, path_len: %d",
                static_cast<int>(file.sub_id), static_cast<int>(file.path_len));
  if (const int error = check_file(function, file, nvefs_max_path - 1); error != 0) return error;
  // The subscription byte stays 0: files are deleted on subscription 0 whatever was asked for.
  const nvefs_request request = make_request(function, nvefs_efs_delete, file);
  nvefs_response response{};
  return nvefs_exchange(function, request, response);
}

}  // namespace

int norvel_qmi_result_map(int old_result) {
  const int new_result = map_result(old_result);
  NORVEL_LOG("norvel_qmi_result_map, old_result %d, new_result %d", old_result, new_result);
  return new_result;
}

int norvel_efs_read(unsigned int sub_id, const char* path, unsigned int path_len,
                    unsigned char* buf, unsigned int* p_buf_len) {
  NORVEL_LOG_SCOPE();
  const platform::mutex_lock hold(g_efs_lock);
  return read_file(__func__, {sub_id, path, path_len}, buf, p_buf_len);
}

int norvel_efs_write(unsigned int sub_id, const char* path, unsigned int path_len,
                     const unsigned char* buf, unsigned int buf_len) {
  NORVEL_LOG_SCOPE();
  const platform::mutex_lock hold(g_efs_lock);
  return write_file(__func__, {sub_id, path, path_len}, buf, buf_len);
}

int norvel_efs_delete(unsigned int sub_id, const char* path, unsigned int path_len) {
  NORVEL_LOG_SCOPE();
  const platform::mutex_lock hold(g_efs_lock);
  return delete_file(__func__, {sub_id, path, path_len});
}
