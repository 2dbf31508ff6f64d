#include "norvel_extend_qmi/norvel_diag_wait.h"

#include <cerrno>

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

bool response_wait::still_waiting(std::uint64_t connection, int ticks) {
  const platform::mutex_lock hold(lock_);
  return waits(connection) && ticks < wait_ticks_;
}

void response_wait::post(std::uint64_t connection) {
  const platform::mutex_lock hold(lock_);
  if (connection == connection_) post_locked();
}

bool response_wait::gives_up(std::uint64_t connection, int ticks) {
  const platform::mutex_lock hold(lock_);
  if (!waits(connection) || ticks < wait_ticks_) return false;
  timed_out_ = true;
  return true;
}

}  // namespace norvel_diag
