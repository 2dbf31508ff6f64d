// Watches the servers of one service, across restarts of the modem.
#pragma once

#include <vector>

#include "platform/linux/library_thread.h"
#include "platform/linux/qmi/handle.h"
#include "platform/linux/qmi/lookup.h"
#include "platform/linux/qmi/port_loop.h"
#include "platform/mutex.h"

namespace qmi {

class notifier final : public handle_object, public std::enable_shared_from_this<notifier> {
 public:
  /// `signal` must outlive the notifier.
  notifier(qmi_idl_service_object_type service, qmi_client_os_params& signal);
  ~notifier() override { stop(); }

  /// Looks once, then keeps watching on its own thread. A modem that is not up yet is waited for.
  /// QMI_PORT_NOT_OPEN_ERR when the endpoint is not a modem's, QMI_INTERNAL_ERR when the host has
  /// no thread to spare.
  [[nodiscard]] qmi_client_error_type start(qmi_client_type handle);
  void stop() override;

  void set_callback(qmi_client_notify_cb callback, void* data);

  [[nodiscard]] bool signals(const qmi_client_os_params& signal) const {
    return &signal_ == &signal;
  }
  [[nodiscard]] std::uint32_t service_id() const { return service_->service_id; }

 private:
  void watch();
  void run_until_gone(transport& port);
  void add_servers(const std::vector<server>& servers);
  void server_up(const server& which);
  void servers_down(const server_event& event);
  void notify(qmi_client_notify_event_type event);

  const qmi_idl_service_object_type service_;
  qmi_client_os_params& signal_;
  qmi_client_type handle_ = nullptr;
  std::unique_ptr<transport> port_;  ///< used only by the thread once it has started
  stop_flag stop_;
  platform::library_thread thread_;

  platform::mutex lock_;
  std::vector<server> known_ TVK_GUARDED_BY(lock_);
  qmi_client_notify_cb callback_ TVK_GUARDED_BY(lock_) = nullptr;
  void* callback_data_ TVK_GUARDED_BY(lock_) = nullptr;
};

/// Reports to the user what a wait on this signal is for. `timeout_ms` 0: without limit.
void report_waiting(const qmi_client_os_params& signal, std::uint32_t timeout_ms);

}  // namespace qmi
