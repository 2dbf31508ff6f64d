// A connection to one server of a service: requests, their answers, and indications.
//
// Datagrams are received by the client's own thread, or by a thread that waits for an answer while
// no other receives: that saves a change of threads on the way of every answer. Callbacks run on
// the client's thread alone; what is not an answer is left to it.
#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "platform/linux/library_thread.h"
#include "platform/linux/qmi/handle.h"
#include "platform/linux/qmi/lookup.h"
#include "platform/linux/qmi/port_loop.h"
#include "platform/linux/qmi/wake_set.h"
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

  /// A datagram that another thread received and left to the client's own.
  struct left_over {
    address from;
    std::vector<std::uint8_t> datagram;
  };

  void run();
  [[nodiscard]] bool work_is_over();
  [[nodiscard]] bool handle_left_overs();
  [[nodiscard]] bool receive_what_is_there();
  [[nodiscard]] bool handle_datagram(address from, byte_view datagram);
  void handle_indication(const protocol::qmi::message& indication);
  void handle_response(const protocol::qmi::message& answer);

  /// Between these two, this thread alone receives. False when another does.
  [[nodiscard]] bool take_turn();
  void end_turn();
  void receive_until_answered(const exchange& request, clock::time_point deadline);
  [[nodiscard]] bool is_answered(const exchange& request);
  void leave_over(address from, byte_view datagram);

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
  std::optional<wake_set> wakes_;
  platform::library_thread thread_;

  std::vector<std::uint8_t> buffer_;  ///< of the thread whose turn it is

  platform::mutex lock_;
  bool is_receiving_ TVK_GUARDED_BY(lock_) = false;
  std::deque<left_over> left_overs_ TVK_GUARDED_BY(lock_);
  std::map<std::uint16_t, exchange*> pending_ TVK_GUARDED_BY(lock_);
  std::uint16_t last_transaction_ TVK_GUARDED_BY(lock_) = 0;
  /// Once set, what every further request returns.
  std::optional<qmi_client_error_type> ended_ TVK_GUARDED_BY(lock_);
  qmi_client_error_cb error_callback_ TVK_GUARDED_BY(lock_) = nullptr;
  void* error_data_ TVK_GUARDED_BY(lock_) = nullptr;
};

}  // namespace qmi
