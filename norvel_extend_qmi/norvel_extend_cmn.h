// Common requests: the extension service's requests of type 4. Each starts with its kind. Requests
// of the kind `message` are the common messages, which are numbered in turn.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "platform/qmi_client.h"

/// Indication callback for clients that use no indications: logs the message id.
void norvel_qcril_qmi_client_common_empty_unsol_ind_cb(qmi_client_type user_handle,
                                                       unsigned int msg_id, void* ind_buf,
                                                       unsigned int ind_buf_len, void* ind_cb_data);

/// Bytes of a common message's payload, and of the answer to a common request.
constexpr unsigned int norvel_common_msg_max_data = 496;
constexpr unsigned int norvel_common_msg_rsp_size = 508;

namespace norvel_common {

constexpr unsigned int request_type = 4;

enum class kind : std::uint32_t {
  gpio_test = 0,
  rf_tx_test = 1,
  message = 2,
  stats_debug_info = 20,
};

enum message_number : unsigned int {
  modem_reset = 31,  ///< payload: the kind of reset
  nv_sync = 35,
  card_status_query = 39,
  card_status_get = 55,
  card_type_query = 56,
  card_status_set = 57,
  card_hotswap_test = 80,
  sim_switch_notice = 84,
};

struct answer {
  std::uint32_t unused;
  std::int32_t result;  ///< 0 success
  std::array<std::uint8_t, norvel_common_msg_rsp_size - 8> data;
};
static_assert(sizeof(answer) == norvel_common_msg_rsp_size);

/// Sends a request with a body of at most 504 bytes, padded with zeros. The answer is all zeros
/// when the exchange fails. Returns the extension client's result.
int send_request(kind what, std::span<const std::uint8_t> body, answer& to);

/// Sends common message `t` with `l` bytes of `v`, cut to the 496 that fit.
int send_message(unsigned int t, unsigned int l, const void* v, answer& to);

}  // namespace norvel_common

/// Sends common message `t` with `l` bytes of `v` and logs it. The answer is written to `rsp`,
/// which has room for norvel_common_msg_rsp_size bytes; it is all zeros when the exchange fails.
void norvel_send_common_qmi_msg(unsigned int t, unsigned int l, void* v, void* rsp);

/// Sends a request without a body and logs it. Returns the extension client's result.
int norvel_common_qmi_req(norvel_common::kind what, norvel_common::answer& to);
