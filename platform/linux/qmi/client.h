// A connection to one server of a service: requests, their answers, and indications.
#pragma once

#include <condition_variable>
#include <map>
#include <optional>
#include <vector>

#include "platform/linux/qmi/handle.h"
#include "platform/linux/qmi/library_thread.h"
#include "platform/linux/qmi/lookup.h"
#include "platform/linux/qmi/port_loop.h"
#include "platform/mutex.h"
#include "protocol/qmi_message.h"

namespace qmi {

struct indication_receiver {
  qmi_client_ind_cb callback = nullptr;
  void* data = nullptr;
};

class client final : public handle_object {
 public:
  client(qmi_idl_service_object_type service, indication_receiver indications);
  ~client() override { stop(); }

  /// Connects, and receives on a thread of its own. QMI_SERVICE_ERR when the server is not there.
  [[nodiscard]] qmi_client_error_type start(qmi_client_type handle, address at);
  void stop() override;

  /// `request`: the whole C structure, or empty for a message without TLVs. No timeout: waits
  /// without limit.
  [[nodiscard]] qmi_client_error_type send_sync(std::uint16_t message_id,
                                                std::span<const std::uint8_t> request,
                                                std::span<std::uint8_t> response,
                                                std::optional<std::chrono::milliseconds> timeout);

  [[nodiscard]] qmi_client_error_type set_error_callback(qmi_client_error_cb callback, void* data);

  [[nodiscard]] qmi_idl_service_object_type service() const { return service_; }

 private:
  /// A request on its way. Lives on the stack of its sender, who takes it out of pending_.
  struct exchange {
    std::uint16_t message_id = 0;
    std::span<std::uint8_t> response;
    std::optional<qmi_client_error_type> result;
    std::condition_variable_any answered;
  };

  void run();
  [[nodiscard]] bool handle_datagram(address from, byte_view datagram);
  void handle_response(const protocol::qmi::message& answer);
  /// The first result counts. Call with the lock held.
  static void finish(exchange& request, qmi_client_error_type result);
  [[nodiscard]] qmi_client_error_type wait_for_answer(exchange& request, clock::time_point deadline)
      TVK_REQUIRES(lock_);
  [[nodiscard]] std::uint16_t next_transaction() TVK_REQUIRES(lock_);
  void end_all(qmi_client_error_type error);

  const qmi_idl_service_object_type service_;
  const indication_receiver indications_;
  qmi_client_type handle_ = nullptr;
  address server_;
  std::unique_ptr<transport> port_;
  stop_flag stop_;
  library_thread thread_;

  platform::mutex lock_;
  std::map<std::uint16_t, exchange*> pending_ TVK_GUARDED_BY(lock_);
  std::uint16_t last_transaction_ TVK_GUARDED_BY(lock_) = 0;
  /// Once set, what every further request returns.
  std::optional<qmi_client_error_type> ended_ TVK_GUARDED_BY(lock_);
  qmi_client_error_cb error_callback_ TVK_GUARDED_BY(lock_) = nullptr;
  void* error_data_ TVK_GUARDED_BY(lock_) = nullptr;
};

}  // namespace qmi
