// Requests whose response is dropped: each is sent by a thread of its own.
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>

#include "norvel_extend_qmi/norvel_diag_exchange.h"
#include "norvel_extend_qmi/norvel_diag_send.h"
#include "norvel_extend_qmi/norvel_diag_thread.h"
#include "norvel_extend_qmi/norvel_diag_wait.h"
#include "platform/diag.h"
#include "platform/mutex.h"
#include "qcril-common/utilities/norvel_ril_log.h"

namespace {

constexpr char log_source[] = "norvel_diag_send";

/// How long a response is given to come.
constexpr std::chrono::milliseconds callback_grace{200};
constexpr std::chrono::milliseconds dci_grace{1000};

/// One worker after the other. Never destroyed: a worker may outlive main.
platform::mutex& g_diag_async_mutex = *new platform::mutex;

/// Workers that were started and have not ended. Never destroyed, like the mutex above.
class running_workers {
 public:
  void add() {
    const platform::mutex_lock hold(lock_);
    ++count_;
  }
  void remove() {
    const platform::mutex_lock hold(lock_);
    --count_;
    changed_.notify_all();
  }
  void wait_for_none() {
    const platform::mutex_lock hold(lock_);
    while (count_ != 0) changed_.wait(lock_);
  }

 private:
  platform::mutex lock_;
  std::condition_variable_any changed_;
  int count_ TVK_GUARDED_BY(lock_) = 0;
};
running_workers& g_running_workers = *new running_workers;

template <void* (*Worker)(void*)>
void* run_and_leave(void* request) {
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
    norvel_diag::sleep_for(callback_grace);
    return 0;
  };
  norvel_diag::run({.function = function,
                    .handler = norvel_diag_cmd_response_by_callback_no_handle,
                    .after_send = wait_a_little,
                    .close = close_library},
                   bytes_of(request));
}

void send_by_dci(const char* function, DiagAsyncRequest& request) {
  const auto response = norvel_diag::allocate_dci_response(function);
  if (!response) return;
  const auto handler = [](unsigned char* data, int len, void* context) {
    norvel_diag_cmd_response_by_dci_no_handle(data, len, context);
  };
  const auto wait_a_little = [] {
    norvel_diag::sleep_for(dci_grace);
    return 0;
  };
  norvel_diag::run({.function = function,
                    .handler = handler,
                    .log = norvel_diag_cmd_response_by_dci_log_stream_no_handle,
                    .event = norvel_diag_cmd_response_by_dci_event_stream_no_handle,
                    .after_send = wait_a_little,
                    .close = close_library},
                   bytes_of(request), {response.get(), norvel_diag::dci_response_size});
}

void* work(const char* function, void* argument,
           void (*send)(const char* function, DiagAsyncRequest& request)) {
  NORVEL_LOG_SCOPE_AS(function);
  const platform::mutex_lock hold(g_diag_async_mutex);
  const owned_request request(static_cast<DiagAsyncRequest*>(argument));
  if (!request) {
    NORVEL_LOG_AS(function, "param is null");
    return nullptr;
  }
  NORVEL_LOG_AS(function, "data_len = %d", static_cast<int>(request->data_len));
  if (Diag_LSM_Init(nullptr) == 0) {
    NORVEL_LOG_AS(function, "LSM init failed");
    return nullptr;
  }
  send(function, *request);
  return nullptr;
}

}  // namespace

void* norvel_diag_cmd_send_without_result_by_callback_mode_thread_proc(void* request) {
  return work(__func__, request, send_by_callback);
}

void* norvel_diag_cmd_send_without_result_by_dci_mode_thread_proc(void* request) {
  return work(__func__, request, send_by_dci);
}

int norvel_diag_cmd_send_without_result_start_thread(unsigned char* data, unsigned int data_len,
                                                     int diag_work_mode) {
  NORVEL_LOG("function entry ------------->");
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
          ? run_and_leave<norvel_diag_cmd_send_without_result_by_callback_mode_thread_proc>
          : run_and_leave<norvel_diag_cmd_send_without_result_by_dci_mode_thread_proc>;
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
