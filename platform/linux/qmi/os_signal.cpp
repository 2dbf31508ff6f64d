#include "platform/linux/qmi/os_signal.h"

#include <cerrno>
#include <ctime>

#include "platform/linux/qmi/notifier.h"

namespace qmi {

void init_signal(qmi_client_os_params& signal) {
  signal.sig_set = 0;
  signal.timed_out = 0;
  signal.clock = CLOCK_MONOTONIC;
  pthread_condattr_init(&signal.attr);
  pthread_condattr_setclock(&signal.attr, CLOCK_MONOTONIC);
  pthread_cond_init(&signal.cond, &signal.attr);
  pthread_mutex_init(&signal.mutex, nullptr);
}

void set_signal(qmi_client_os_params& signal) {
  pthread_mutex_lock(&signal.mutex);
  signal.sig_set = 1;
  pthread_cond_broadcast(&signal.cond);
  pthread_mutex_unlock(&signal.mutex);
}

namespace {

timespec from_now(std::uint32_t milliseconds) {
  timespec at{};
  ::clock_gettime(CLOCK_MONOTONIC, &at);
  constexpr long second = 1'000'000'000;
  at.tv_sec += milliseconds / 1000;
  at.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
  if (at.tv_nsec >= second) {
    at.tv_nsec -= second;
    ++at.tv_sec;
  }
  return at;
}

bool is_set(qmi_client_os_params& signal) {
  pthread_mutex_lock(&signal.mutex);
  const bool set = signal.sig_set != 0;
  pthread_mutex_unlock(&signal.mutex);
  return set;
}

}  // namespace
}  // namespace qmi

void qmi_cci_os_signal_wait(qmi_client_os_params* os_params, std::uint32_t timeout_ms) {
  if (os_params == nullptr) return;
  qmi_client_os_params& signal = *os_params;
  if (!qmi::is_set(signal)) qmi::report_waiting(signal, timeout_ms);

  const timespec deadline = qmi::from_now(timeout_ms);
  pthread_mutex_lock(&signal.mutex);
  signal.timed_out = 0;
  while (signal.sig_set == 0 && signal.timed_out == 0) {
    if (timeout_ms == 0) {
      pthread_cond_wait(&signal.cond, &signal.mutex);
    } else if (pthread_cond_timedwait(&signal.cond, &signal.mutex, &deadline) == ETIMEDOUT) {
      signal.timed_out = 1;
    }
  }
  pthread_mutex_unlock(&signal.mutex);
}
