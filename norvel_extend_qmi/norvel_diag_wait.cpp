#include "norvel_extend_qmi/norvel_diag_wait.h"

#include <pthread.h>

#include <cerrno>

#include "norvel_extend_qmi/norvel_diag_response.h"
#include "norvel_extend_qmi/norvel_diag_send.h"
#include "norvel_extend_qmi/norvel_diag_thread.h"
#include "qcril-common/utilities/norvel_ril_log.h"

namespace {

constexpr char log_source[] = "norvel_diag_send";

}  // namespace

namespace norvel_diag {

response_wait& g_diag_wait = *new response_wait;

void response_wait::open() {
  const platform::mutex_lock hold(lock_);
  ::sem_init(&semaphore_, 0, 0);
  is_open_ = true;
  ++connection_;
}

void response_wait::close() {
  const platform::mutex_lock hold(lock_);
  if (is_open_) ::sem_destroy(&semaphore_);
  is_open_ = false;
}

void response_wait::begin(int ticks) {
  const platform::mutex_lock hold(lock_);
  waiting_ = true;
  wait_ticks_ = ticks;
}

void response_wait::wait() {
  {
    const platform::mutex_lock hold(lock_);
    if (!is_open_) return;
  }
  while (::sem_wait(&semaphore_) != 0 && errno == EINTR) {
  }
}

bool response_wait::end() {
  const platform::mutex_lock hold(lock_);
  waiting_ = false;
  wait_ticks_ = default_ticks;
  const bool gave_up = timed_out_;
  timed_out_ = false;
  return gave_up;
}

void response_wait::post_locked() {
  if (is_open_) ::sem_post(&semaphore_);
}

void response_wait::post() {
  const platform::mutex_lock hold(lock_);
  post_locked();
}

std::uint64_t response_wait::connection() {
  const platform::mutex_lock hold(lock_);
  return connection_;
}

bool response_wait::waits(std::uint64_t connection) const {
  return waiting_ && connection == connection_;
}

bool response_wait::goes_on(std::uint64_t connection, int ticks) {
  const platform::mutex_lock hold(lock_);
  return waits(connection) && ticks < wait_ticks_;
}

void response_wait::post(std::uint64_t connection) {
  const platform::mutex_lock hold(lock_);
  if (connection == connection_) post_locked();
}

void response_wait::give_up(std::uint64_t connection, int ticks) {
  const platform::mutex_lock hold(lock_);
  if (!waits(connection) || ticks < wait_ticks_) return;
  // Before the waiter can look.
  timed_out_ = true;
  NORVEL_LOG_AS("norvel_diag_cmd_send_with_result_wait_thread_proc", "stop waiting");
  post_locked();
}

}  // namespace norvel_diag

void* norvel_diag_cmd_send_with_result_wait_thread_proc(void* /*unused*/) {
  using norvel_diag::g_diag_wait;
  NORVEL_LOG_SCOPE();
  const std::uint64_t connection = g_diag_wait.connection();
  int count = 0;
  do {
    norvel_diag::sleep_for(norvel_diag::tick);
    ++count;
    NORVEL_LOG("norvel_diag_cmd_send_with_result_wait_thread_proc, cnt_of_100ms = %d", count);
  } while (g_diag_wait.goes_on(connection, count));

  // A response in pieces of which the last is full says nothing of its end.
  const int length = norvel_diag::response_length();
  if (length != 0 && length % norvel_diag::dci_piece_size == 0) {
    NORVEL_LOG("stop waiting, receive success, length is times of 4096");
    g_diag_wait.post(connection);
  } else {
    g_diag_wait.give_up(connection, count);
  }
  return nullptr;
}

void norvel_diag_cmd_send_with_result_wait_create_thread() {
  NORVEL_LOG_SCOPE();
  const int created =
      norvel_diag::start_thread(norvel_diag_cmd_send_with_result_wait_thread_proc, nullptr);
  NORVEL_LOG("norvel daig is created, conf = %d", created);  // sic
}
