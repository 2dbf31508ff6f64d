#include "platform/linux/qmi/notifier.h"

#include <algorithm>
#include <array>
#include <string>

#include "platform/linux/qmi/os_signal.h"
#include "platform/linux/report.h"

namespace qmi {
namespace {

/// How often to look for a missing endpoint.
constexpr std::chrono::milliseconds retry_time{20};

}  // namespace

notifier::notifier(qmi_idl_service_object_type service, qmi_client_os_params& signal)
    : service_(service), signal_(signal) {
  init_signal(signal_);
}

qmi_client_error_type notifier::start(qmi_client_type handle) {
  handle_ = handle;
  found first = find_servers(service_->service_id);
  if (first.result == open_result::refused) return QMI_PORT_NOT_OPEN_ERR;
  add_servers(first.servers);
  port_ = std::move(first.port);
  return thread_.start([self = shared_from_this()] { self->watch(); }) ? QMI_NO_ERR
                                                                       : QMI_INTERNAL_ERR;
}

void notifier::stop() {
  stop_.set();
  thread_.wait();
}

void notifier::set_callback(qmi_client_notify_cb callback, void* data) {
  bool is_up = false;
  {
    const platform::mutex_lock hold(lock_);
    callback_ = callback;
    callback_data_ = data;
    is_up = !known_.empty();
  }
  if (is_up) callback(handle_, service_, QMI_CLIENT_SERVICE_COUNT_INC, data);
}

void notifier::watch() {
  for (;;) {
    if (port_) run_until_gone(*port_);
    port_.reset();
    if (stop_.is_set() || stop_.wait_for(retry_time)) return;
    found again = find_servers(service_->service_id);
    port_ = std::move(again.port);
    add_servers(again.servers);
  }
}

void notifier::run_until_gone(transport& port) {
  std::array<std::uint8_t, protocol::qrtr::control_packet_size> buffer{};
  const auto handle_event = [this](address from, byte_view datagram) {
    const auto event = parse_server_event(from, datagram);
    if (event && event->is_up) server_up(event->which);
    if (event && !event->is_up) servers_down(*event);
    return true;
  };
  if (receive_loop(port, stop_, buffer, handle_event) == loop_end::stopped) return;

  std::vector<server> lost;
  {
    const platform::mutex_lock hold(lock_);
    lost = known_;
  }
  for (const server& which : lost) servers_down({.is_up = false, .which = which});
}

void notifier::add_servers(const std::vector<server>& servers) {
  for (const server& which : servers) server_up(which);
}

void notifier::server_up(const server& which) {
  if (which.service != service_->service_id || which.version() != service_->idl_version) return;
  {
    const platform::mutex_lock hold(lock_);
    if (std::ranges::find(known_, which) != known_.end()) return;
    known_.push_back(which);
  }
  notify(QMI_CLIENT_SERVICE_COUNT_INC);
}

void notifier::servers_down(const server_event& event) {
  {
    const platform::mutex_lock hold(lock_);
    const auto ended = [&](const server& known) { return event.ends(known.service, known.at); };
    if (std::erase_if(known_, ended) == 0) return;
  }
  notify(QMI_CLIENT_SERVICE_COUNT_DEC);
}

void notifier::notify(qmi_client_notify_event_type event) {
  // If a callback released the notifier, the signal may no longer exist.
  if (stop_.is_set()) return;
  qmi_client_notify_cb callback = nullptr;
  void* data = nullptr;
  {
    const platform::mutex_lock hold(lock_);
    callback = callback_;
    data = callback_data_;
  }
  set_signal(signal_);
  if (callback != nullptr) callback(handle_, service_, event, data);
}

void report_waiting(const qmi_client_os_params& signal, std::uint32_t timeout_ms) {
  // Callers retry in a loop: the text is the same each time, so it is reported once.
  const std::string limit = timeout_ms == 0
                                ? " until it comes"
                                : " for up to " + std::to_string(timeout_ms) + " ms in each try";
  for (const auto& object : all_handles()) {
    const auto waited_for = std::dynamic_pointer_cast<notifier>(object);
    if (!waited_for || !waited_for->signals(signal)) continue;
    platform::report_once("waiting for " + service_name(waited_for->service_id()) + " at " +
                          endpoint_name() + limit);
  }
}

}  // namespace qmi
