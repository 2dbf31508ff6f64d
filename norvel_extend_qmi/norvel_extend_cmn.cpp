#include "norvel_extend_qmi/norvel_extend_cmn.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "norvel_extend_qmi/norvel_extend_client.h"
#include "qcril-common/utilities/norvel_ril_log.h"

namespace norvel_common {
namespace {

struct request {
  kind what;
  std::uint32_t reserved;
  std::array<std::uint8_t, 504> body;
};
static_assert(sizeof(request) == norvel_extend_qmi_max_data);

/// Body of a request of the kind `message`.
struct message_body {
  std::uint32_t t;  ///< message number
  std::uint32_t l;  ///< payload bytes
  std::array<std::uint8_t, norvel_common_msg_max_data> v;
};
static_assert(sizeof(message_body) == sizeof(request::body));

}  // namespace

int send_request(kind what, std::span<const std::uint8_t> body, answer& to) {
  request sent{.what = what, .reserved = 0, .body = {}};
  std::copy_n(body.begin(), std::min(body.size(), sent.body.size()), sent.body.begin());
  to = {};
  unsigned int capacity = sizeof to;
  return norvel_extend_qmi_send_sync(request_type, reinterpret_cast<unsigned char*>(&sent),
                                     sizeof sent, &to, &capacity);
}

int send_message(unsigned int t, unsigned int l, const void* v, answer& to) {
  message_body message{.t = t, .l = l, .v = {}};
  if (l != 0) std::memcpy(message.v.data(), v, std::min(l, norvel_common_msg_max_data));
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&message);
  return send_request(kind::message, {bytes, sizeof message}, to);
}

}  // namespace norvel_common

namespace {

void send_logged(const char* function, unsigned int t, unsigned int l, const void* v, void* rsp) {
  if (rsp == nullptr) {
    NORVEL_LOG_AS(function, "rsp is NULL");
    return;
  }
  norvel_common::answer answer{};
  NORVEL_LOG_AS(function, "t %d", static_cast<int>(t));
  NORVEL_LOG_AS(function, "l %d", static_cast<int>(l));
  if (l != 0 && v == nullptr) {
    NORVEL_LOG_AS(function, "v is null");
  } else {
    norvel_common::send_message(t, l, v, answer);
  }
  std::memcpy(rsp, &answer, sizeof answer);
}

}  // namespace

void norvel_qcril_qmi_client_common_empty_unsol_ind_cb(qmi_client_type /*user_handle*/,
                                                       unsigned int msg_id, void* /*ind_buf*/,
                                                       unsigned int /*ind_buf_len*/,
                                                       void* /*ind_cb_data*/) {
  NORVEL_LOG("msg_id %d", static_cast<int>(msg_id));
}

void norvel_send_common_qmi_msg(unsigned int t, unsigned int l, void* v, void* rsp) {
  NORVEL_LOG_ENTRY();
  send_logged(__func__, t, l, v, rsp);
  NORVEL_LOG_EXIT();
}

int norvel_common_qmi_req(norvel_common::kind what, norvel_common::answer& to) {
  // Readers of the log expect these fixed numbers, not this file's lines.
  constexpr norvel_log_site entry{norvel_log_source(__FILE__), __func__, 1068};
  constexpr norvel_log_site exit{norvel_log_source(__FILE__), __func__, 1106};
  norvel_log(entry, "function entry ------------->");
  const int result = norvel_common::send_request(what, {}, to);
  norvel_log(exit, "function exit <-------------");
  return result;
}
