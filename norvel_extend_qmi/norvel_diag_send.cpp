// The connection to the DIAG library, and requests whose response is awaited.
#include "norvel_extend_qmi/norvel_diag_send.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "norvel_extend_qmi/norvel_diag_exchange.h"
#include "norvel_extend_qmi/norvel_diag_response.h"
#include "norvel_extend_qmi/norvel_diag_wait.h"
#include "norvel_extend_qmi/norvel_text.h"
#include "platform/diag.h"
#include "platform/mutex.h"
#include "qcril-common/utilities/checked.h"
#include "qcril-common/utilities/norvel_ril_log.h"

namespace {

constexpr char log_source[] = "norvel_diag_send";

using norvel_diag::g_diag_wait;

/// Held from the checks of an awaited request to its end.
platform::mutex g_diag_result_mutex;

/// Successful opens since the last close; 0 while the connection is closed.
int g_diag_init_status = 0;

/// Contexts of the callbacks, the local processor and the remote ones behind it: the library keeps
/// pointers to them.
constexpr int remote_processors = 16;
std::array<int, 1 + remote_processors> g_processor_ids{0, 1,  2,  3,  4,  5,  6,  7, 8,
                                                       9, 10, 11, 12, 13, 14, 15, 16};

int to_ticks(int time_out) {
  return time_out / static_cast<int>(norvel_diag::tick.count());
}

struct reply {
  unsigned char* data;
  int* length;  ///< in the capacity, out the bytes copied

  [[nodiscard]] std::span<unsigned char> room() const {
    return {data, static_cast<std::size_t>(*length)};
  }
};

bool has_good_arguments(const char* function, std::span<unsigned char> request, const reply& to) {
  if (norvel_diag_comand_input_check(request.data(), static_cast<unsigned int>(request.size())) !=
      0) {
    NORVEL_LOG_AS(function, "norvel_diag_comand_param_check fail");  // sic
    return false;
  }
  if (norvel_diag_comand_output_check(to.data, to.length) != 0) {
    NORVEL_LOG_AS(function, "norvel_diag_comand_output_check fail");
    return false;
  }
  return true;
}

/// The request is sent and g_diag_wait begun.
int await_response(const char* function, const reply& to) {
  norvel_diag_cmd_send_with_result_wait_create_thread();
  g_diag_wait.wait();
  const int length = norvel_diag::copy_response(to.room());
  const bool gave_up = g_diag_wait.end();
  const int copied = std::min(length, *to.length);
  NORVEL_LOG_AS(function,
                "req end, data_size = %d, g_qcril_diag_rsp_buf.length = %d, reply_len = %d", copied,
                length, *to.length);
  *to.length = copied;
  return gave_up ? 1 : 0;
}

}  // namespace

void norvel_diag_init_with_result() {
  NORVEL_LOG_SCOPE();
  if (g_diag_init_status != 0) {
    NORVEL_LOG("diag init done, g_diag_init_status = %d", g_diag_init_status);
    g_diag_init_status = checked_add(g_diag_init_status, 1);
    return;
  }
  if (Diag_LSM_Init(nullptr) == 0) {
    NORVEL_LOG("LSM init failed");
    return;
  }
  g_diag_wait.open();
  g_diag_init_status = 1;
}

void norvel_diag_deinit_with_result() {
  NORVEL_LOG_SCOPE();
  Diag_LSM_DeInit();
  g_diag_init_status = 0;
  g_diag_wait.close();
}

void norvel_diag_register_callback(norvel_diag_response_handler callback) {
  diag_register_callback(callback, g_processor_ids.data());
  std::uint16_t mask = 0;
  diag_has_remote_device(&mask);
  NORVEL_LOG("register call back, g_diag_channel = [%d]%s, data_primary = %d, remote_mask = [%d]%s",
             0, "MSM", g_processor_ids[0], mask, norvel_print_diag_mask_name(mask));
  for (int k = 1; k <= remote_processors; ++k) {
    if ((mask >> (k - 1) & 1) == 0) continue;
    NORVEL_LOG("register remote call back, data_remote = %d", k);
    diag_register_remote_callback(callback, k, &g_processor_ids.at(static_cast<std::size_t>(k)));
  }
}

int norvel_diag_comand_input_check(unsigned char* data, unsigned int data_len) {
  NORVEL_LOG("diag_comand, data_len = %d", static_cast<int>(data_len));
  if (data == nullptr) {
    NORVEL_LOG("data is null");
    return 1;
  }
  if (data_len < 1 || data_len > norvel_diag_max_request) {
    NORVEL_LOG("Invalid input parameter, data_len = %d", static_cast<int>(data_len));
    return 1;
  }
  norvel_print_data_with_hex(data, data_len);
  return 0;
}

int norvel_diag_comand_output_check(const unsigned char* reply_buf, const int* p_reply_len) {
  if (reply_buf == nullptr) {
    NORVEL_LOG("reply_buf is null");
    return 1;
  }
  if (p_reply_len == nullptr) {
    NORVEL_LOG("p_reply_len is null");
    return 1;
  }
  NORVEL_LOG("reply_len = %d", *p_reply_len);
  if (*p_reply_len <= 0) {
    NORVEL_LOG("Invalid output parameter, reply_len = %d", *p_reply_len);
    return 1;
  }
  return 0;
}

// NOLINTBEGIN(readability-non-const-parameter): the reply is written through `to`.
int norvel_diag_cmd_send_with_result_by_callback_mode(unsigned char* data, unsigned int data_len,
                                                      unsigned char* reply_buf, int* p_reply_len,
                                                      int time_out) {
  constexpr int max_time_out = 60000;
  constexpr int default_time_out = 3000;
  const char* function = __func__;
  const reply to{reply_buf, p_reply_len};
  const std::span request(data, data_len);
  const platform::mutex_lock hold(g_diag_result_mutex);
  if (!has_good_arguments(function, request, to)) return 1;

  norvel_diag_init_with_result();
  const auto after_send = [&](int sent) {
    if (sent != 0) {
      NORVEL_LOG_AS(function, "Fail to send diag cmd");
      return 1;
    }
    if (time_out < 1 || time_out > max_time_out) {
      NORVEL_LOG_AS(function, "Time out is invalid, set default");
      time_out = default_time_out;
    }
    g_diag_wait.begin(to_ticks(time_out));
    NORVEL_LOG_AS(function, "Command time = %d * 100ms", to_ticks(time_out));
    return await_response(function, to);
  };
  return norvel_diag::run({.function = function,
                           .handler = norvel_diag_cmd_response_by_callback,
                           .after_send = after_send,
                           .close = norvel_diag_deinit_with_result},
                          request);
}

int norvel_diag_cmd_send_with_result_by_dci_mode(unsigned char* data, unsigned int data_len,
                                                 unsigned char* reply_buf, int* p_reply_len,
                                                 int time_out) {
  const char* function = __func__;
  const reply to{reply_buf, p_reply_len};
  const std::span request(data, data_len);
  const platform::mutex_lock hold(g_diag_result_mutex);
  if (!has_good_arguments(function, request, to)) return 1;

  norvel_diag_init_with_result();
  const auto response = norvel_diag::allocate_dci_response(function);
  if (!response) {
    norvel_diag_deinit_with_result();
    return 1;
  }
  const auto after_send = [&] {
    // Unlike in callback mode any time is taken, also none and less.
    g_diag_wait.begin(to_ticks(time_out));
    NORVEL_LOG_AS(function, "Dci Command time = %d", to_ticks(time_out));
    const int result = await_response(function, to);
    norvel_diag::drop_response();
    return result;
  };
  const auto handler = [](unsigned char* piece, int len, void* context) {
    norvel_diag_cmd_response_by_dci(piece, len, context);
  };
  return norvel_diag::run({.function = function,
                           .handler = handler,
                           .log = norvel_diag_cmd_response_by_dci_log_stream,
                           .event = norvel_diag_cmd_response_by_dci_event_stream,
                           .after_send = after_send,
                           .close = norvel_diag_deinit_with_result},
                          request, {response.get(), norvel_diag::dci_response_size});
}
// NOLINTEND(readability-non-const-parameter)
