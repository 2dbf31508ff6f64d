#include "norvel_extend_qmi/norvel_diag_send.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <span>

#include "norvel_extend_qmi/norvel_diag_send_check.h"
#include "norvel_extend_qmi/norvel_diag_send_connection.h"
#include "norvel_extend_qmi/norvel_diag_send_response.h"
#include "norvel_extend_qmi/norvel_diag_send_watcher.h"
#include "norvel_extend_qmi/norvel_diag_thread.h"
#include "norvel_extend_qmi/norvel_diag_wait.h"
#include "platform/diag.h"
#include "platform/mutex.h"
#include "qcril-common/utilities/norvel_ril_log.h"
#include "qcril-common/utilities/pause.h"

namespace {

using norvel_diag::g_diag_wait;
using norvel_diag::thread_count;

// How each mode sends a request through the library. The members of these structures are what
// differs between awaiting the response and dropping it.

/// On an open connection, registers the handler, sends to the local processor, and closes.
/// `after_send` receives the library's send result and returns the exchange's.
struct callback_exchange {
  const char* function;  ///< the function name in log lines
  norvel_diag_response_handler handler;
  std::function<int(int sent)> after_send;
  void (*close)();
};

/// Registers a client, sends, and releases the client. If the library accepts the request,
/// `after_send` runs and returns the exchange's result; otherwise the result is 1.
struct dci_exchange {
  const char* function;
  diag_dci_response handler;
  diag_dci_stream log;
  diag_dci_stream event;
  std::function<int()> after_send;
  void (*close)();
};

constexpr std::size_t dci_response_size = 16384;
constexpr int local_processor = 0;
constexpr int client_signal = 18;
/// Counted from the kernel's first real-time signal: C libraries keep some of these for themselves
/// and begin SIGRTMIN after them, so that SIGRTMIN + 30 differs between them, and may be past the
/// last.
constexpr int data_signal = 32 + 30;

/// For a registered client. True when the library has accepted the request.
bool send_registered(const dci_exchange& steps, int client_id, std::span<unsigned char> request,
                     std::span<unsigned char> response) {
  const char* function = steps.function;
  int result = diag_register_dci_signal_data(client_id, data_signal);
  if (result != DIAG_DCI_NO_ERROR) {
    NORVEL_LOG_AS(function, "Could not register signal for DCI Data for ch:%d, err: %d, errno: %d",
                  local_processor, result, errno);
    return false;
  }
  NORVEL_LOG_AS(function, "DCI Status on Processors for ch%d:", local_processor);
  std::uint16_t peripherals = 0;
  result = diag_get_dci_support_list_proc(local_processor, &peripherals);
  if (result != DIAG_DCI_NO_ERROR) {
    NORVEL_LOG_AS(function, "Could not get support list for ch %d, err: %d, errno: %d",
                  local_processor, result, errno);
    return false;
  }
  NORVEL_LOG_AS(function, "MPSS on ch:%d: %s", local_processor,
                (peripherals & DIAG_CON_MPSS) != 0 ? "UP" : "DOWN");
  NORVEL_LOG_AS(function, "Opening Data Stream, registering listeners for ch:%d", local_processor);
  result = diag_register_dci_stream_proc(client_id, steps.log, steps.event);
  if (result != DIAG_DCI_NO_ERROR) {
    NORVEL_LOG_AS(function, "Unable to register DCI stream for ch:%d, err: %d, errno: %d",
                  local_processor, result, errno);
    return false;
  }
  NORVEL_LOG_AS(function, "Sending Asynchronous Command for ch:%d", local_processor);
  result = diag_send_dci_async_req(client_id, request.data(), static_cast<int>(request.size()),
                                   response.data(), static_cast<int>(response.size()),
                                   steps.handler, nullptr);
  if (result != DIAG_DCI_NO_ERROR) {
    NORVEL_LOG_AS(function, "Error sending SEND_REQUEST_ASYNC to peripheral %d for ch:%d", result,
                  local_processor);
    return false;
  }
  return true;
}

int run(const callback_exchange& steps, std::span<unsigned char> request) {
  norvel_diag_register_callback(steps.handler);
  diag_switch_logging(DIAG_CALLBACK_MODE, nullptr);
  const int sent =
      diag_callback_send_data(local_processor, request.data(), static_cast<int>(request.size()));
  NORVEL_LOG_AS(steps.function, "ret_send = %d, will wait callback", sent);
  const int result = steps.after_send(sent);
  diag_switch_logging(DIAG_USB_MODE, nullptr);
  steps.close();
  return result;
}

int run(const dci_exchange& steps, std::span<unsigned char> request,
        std::span<unsigned char> response) {
  const char* function = steps.function;
  int client_id = 0;
  int signal = client_signal;
  std::uint16_t peripherals = DIAG_CON_MPSS;
  const int registered =
      diag_register_dci_client(&client_id, &peripherals, local_processor, &signal);
  if (registered != DIAG_DCI_NO_ERROR) {
    NORVEL_LOG_AS(function, "Could not register with DCI, err: %d, errno: %d ch:%d", registered,
                  errno, local_processor);
    steps.close();
    return 1;
  }
  NORVEL_LOG_AS(function, "Successfully registered with DCI for ch:%d, client ID = %d",
                local_processor, client_id);
  const int result = send_registered(steps, client_id, request, response) ? steps.after_send() : 1;
  steps.close();
  const int released = diag_release_dci_client(&client_id);
  NORVEL_LOG_AS(function, "Releasing DCI connection, err: %d, errno: %d", released, errno);
  return result;
}

/// A buffer for a DCI response; null, and logged, when out of memory.
std::unique_ptr<unsigned char[]> allocate_dci_response(const char* function) {
  std::unique_ptr<unsigned char[]> room(new (std::nothrow) unsigned char[dci_response_size]());
  if (!room) {
    NORVEL_LOG_AS(function, "Unable to allocate memory for DCI rsp pkt, errno: %d", errno);
  }
  return room;
}

// Requests whose response is awaited.

/// Held for the whole of an awaited request, argument checks included.
platform::mutex g_diag_result_mutex;

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

bool arguments_are_valid(const char* function, std::span<unsigned char> request, const reply& to) {
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

/// To be called after g_diag_wait.begin and sending the request.
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

// Requests whose response is dropped. Each is sent by a thread of its own.

/// How long to linger for a response, which is only logged.
constexpr std::chrono::milliseconds callback_grace{200};
constexpr std::chrono::milliseconds dci_grace{1000};

/// Lets only one worker send at a time. Never destroyed: a worker may outlive main.
platform::mutex& g_diag_async_mutex = *new platform::mutex;

/// Never destroyed, like the mutex above.
thread_count& g_running_workers = *new thread_count;

template <void* (*Worker)(void*)>
void* run_counted(void* request) {
  Worker(request);
  g_running_workers.remove();
  return nullptr;
}

struct free_request {
  void operator()(DiagAsyncRequest* request) const { std::free(request); }
};
using owned_request = std::unique_ptr<DiagAsyncRequest, free_request>;

std::span<unsigned char> bytes_of(DiagAsyncRequest& request) {
  return {reinterpret_cast<unsigned char*>(&request + 1), request.data_len};
}

void close_library() {
  Diag_LSM_DeInit();
}

void send_by_callback(const char* function, DiagAsyncRequest& request) {
  const auto wait_a_little = [](int) {
    pause_for(callback_grace);
    return 0;
  };
  run({.function = function,
       .handler = norvel_diag_cmd_response_by_callback_no_handle,
       .after_send = wait_a_little,
       .close = close_library},
      bytes_of(request));
}

void send_by_dci(const char* function, DiagAsyncRequest& request) {
  const auto response = allocate_dci_response(function);
  if (!response) return;
  const auto handler = [](unsigned char* data, int len, void* context) {
    norvel_diag_cmd_response_by_dci_no_handle(data, len, context);
  };
  const auto wait_a_little = [] {
    pause_for(dci_grace);
    return 0;
  };
  run({.function = function,
       .handler = handler,
       .log = norvel_diag_cmd_response_by_dci_log_stream_no_handle,
       .event = norvel_diag_cmd_response_by_dci_event_stream_no_handle,
       .after_send = wait_a_little,
       .close = close_library},
      bytes_of(request), {response.get(), dci_response_size});
}

using sender = void(const char* function, DiagAsyncRequest& request);

void send_request(const char* function, void* argument, sender send) {
  const platform::mutex_lock hold(g_diag_async_mutex);
  const owned_request request(static_cast<DiagAsyncRequest*>(argument));
  if (!request) {
    NORVEL_LOG_AS(function, "param is null");
    return;
  }
  NORVEL_LOG_AS(function, "data_len = %d", static_cast<int>(request->data_len));
  if (Diag_LSM_Init(nullptr) == 0) {
    NORVEL_LOG_AS(function, "LSM init failed");
    return;
  }
  send(function, *request);
}

void* work(const char* function, void* argument, sender send) {
  NORVEL_LOG_ENTRY_AS(function);
  send_request(function, argument, send);
  NORVEL_LOG_EXIT_AS(function);
  return nullptr;
}

}  // namespace

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
  if (!arguments_are_valid(function, request, to)) return 1;

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
  return run({.function = function,
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
  if (!arguments_are_valid(function, request, to)) return 1;

  norvel_diag_init_with_result();
  const auto response = allocate_dci_response(function);
  if (!response) {
    norvel_diag_deinit_with_result();
    return 1;
  }
  const auto after_send = [&] {
    // Unlike callback mode, DCI mode accepts any time, even zero or negative.
    g_diag_wait.begin(to_ticks(time_out));
    NORVEL_LOG_AS(function, "Dci Command time = %d", to_ticks(time_out));
    const int result = await_response(function, to);
    norvel_diag::drop_response();
    return result;
  };
  const auto handler = [](unsigned char* piece, int len, void* context) {
    norvel_diag_cmd_response_by_dci(piece, len, context);
  };
  return run({.function = function,
              .handler = handler,
              .log = norvel_diag_cmd_response_by_dci_log_stream,
              .event = norvel_diag_cmd_response_by_dci_event_stream,
              .after_send = after_send,
              .close = norvel_diag_deinit_with_result},
             request, {response.get(), dci_response_size});
}
// NOLINTEND(readability-non-const-parameter)

void* norvel_diag_cmd_send_without_result_by_callback_mode_thread_proc(void* request) {
  return work(__func__, request, send_by_callback);
}

void* norvel_diag_cmd_send_without_result_by_dci_mode_thread_proc(void* request) {
  return work(__func__, request, send_by_dci);
}

int norvel_diag_cmd_send_without_result_start_thread(unsigned char* data, unsigned int data_len,
                                                     int diag_work_mode) {
  NORVEL_LOG_ENTRY();
  if (norvel_diag_comand_input_check(data, data_len) != 0) {
    NORVEL_LOG("norvel_diag_comand_input_check fail");
    return 1;
  }
  constexpr std::size_t overhead = sizeof(DiagAsyncRequest) + 1;
  static_assert(overhead == 5);
  owned_request request(static_cast<DiagAsyncRequest*>(std::malloc(data_len + overhead)));
  if (!request) {
    NORVEL_LOG_ERROR("Failed to allocate memory for ptr_out");
    return 1;
  }
  request->data_len = data_len;
  std::memcpy(bytes_of(*request).data(), data, data_len);
  auto* const worker =
      diag_work_mode == 0
          ? run_counted<norvel_diag_cmd_send_without_result_by_callback_mode_thread_proc>
          : run_counted<norvel_diag_cmd_send_without_result_by_dci_mode_thread_proc>;
  g_running_workers.add();
  const int created = norvel_diag::start_thread(worker, request.get());
  NORVEL_LOG("norvel daig is created, conf = %d, diag_work_mode = %d", created,  // sic
             diag_work_mode);
  if (created != 0) {
    g_running_workers.remove();
    return 1;
  }
  static_cast<void>(request.release());
  return 0;
}

void norvel_diag_cmd_send_without_result_wait() {
  g_running_workers.wait_for_none();
}
