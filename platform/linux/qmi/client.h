// A connection to one server of a service: requests, their answers, and indications.
//
// One thread at a time receives datagrams: the client's own thread, or a thread that is waiting for
// an answer, which saves a thread switch per answer. Callbacks run only on the client's thread and
// only while it is not receiving; the receiving thread queues indications for it. So a callback may
// send requests of its own and may release the client.
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

class client final : public handle_object, public std::enable_shared_from_this<client> {
 public:
  client(qmi_idl_service_object_type service, indication_receiver indications);
  ~client() override { stop(); }

  /// Connects and starts the receiving thread. QMI_SERVICE_ERR when the server is not up,
  /// QMI_INTERNAL_ERR when the host has no thread or descriptor to spare.
  [[nodiscard]] qmi_client_error_type start(qmi_client_type handle, address at);
  void stop() override;

  /// `request`: the whole C structure, or empty for a message without TLVs. Without a timeout it
  /// waits indefinitely. It returns only after the callbacks for indications that preceded the
  /// answer have returned, unless time runs out or the caller is such a callback itself.
  [[nodiscard]] qmi_client_error_type send_sync(std::uint16_t message_id,
                                                std::span<const std::uint8_t> request,
                                                std::span<std::uint8_t> response,
                                                std::optional<std::chrono::milliseconds> timeout);

  [[nodiscard]] qmi_client_error_type set_error_callback(qmi_client_error_cb callback, void* data);

  [[nodiscard]] qmi_idl_service_object_type service() const { return service_; }

 private:
  /// A request in flight. Lives on the sender's stack; the sender removes it from pending_.
  struct exchange {
    std::uint16_t message_id = 0;
    std::span<std::uint8_t> response;
    std::optional<qmi_client_error_type> result = {};
    std::uint64_t indications_before = 0;  ///< queued when the result came
    /// Notified when the result is set, when no thread is receiving, and after each callback.
    std::condition_variable_any changed = {};
  };

  struct indication {
    std::uint16_t message_id = 0;
    std::vector<std::uint8_t> tlvs;
  };

  // The client's thread.
  void run();
  void receive_pending();
  void deliver_indications();
  [[nodiscard]] bool is_over();
  void end();

  // What a receiving thread does with a datagram.
  void sort(address from, byte_view datagram);
  void queue(const protocol::qmi::message& message);
  void handle_response(const protocol::qmi::message& answer);
  void end_requests(qmi_client_error_type error) TVK_REQUIRES(lock_);

  /// Makes this thread the only one to receive, until end_receiving. False when another one is.
  [[nodiscard]] bool begin_receiving() TVK_REQUIRES(lock_);
  void end_receiving() TVK_REQUIRES(lock_);
  /// Only between begin_receiving and end_receiving.
  void receive_until_answered(exchange& request, clock::time_point deadline);
  [[nodiscard]] bool is_answered(const exchange& request);

  /// Only the first call has an effect.
  void finish(exchange& request, qmi_client_error_type result) const TVK_REQUIRES(lock_);
  /// Waits until the request has its result (false) or this thread is the one to receive (true).
  [[nodiscard]] bool wait_to_receive(exchange& request, clock::time_point deadline)
      TVK_REQUIRES(lock_);
  void wait_for_indications(exchange& request, clock::time_point deadline) TVK_REQUIRES(lock_);
  /// False when the deadline has passed.
  [[nodiscard]] bool wait_for_change(exchange& request, clock::time_point deadline)
      TVK_REQUIRES(lock_);
  void announce_change() TVK_REQUIRES(lock_);
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

  std::vector<std::uint8_t> buffer_;  ///< belongs to the thread that is receiving

  platform::mutex lock_;
  bool is_receiving_ TVK_GUARDED_BY(lock_) = false;
  std::deque<indication> undelivered_ TVK_GUARDED_BY(lock_);
  std::uint64_t queued_ TVK_GUARDED_BY(lock_) = 0;
  std::uint64_t delivered_ TVK_GUARDED_BY(lock_) = 0;
  std::map<std::uint16_t, exchange*> pending_ TVK_GUARDED_BY(lock_);
  std::uint16_t last_transaction_ TVK_GUARDED_BY(lock_) = 0;
  /// Once set, every further request returns it.
  std::optional<qmi_client_error_type> ended_ TVK_GUARDED_BY(lock_);
  qmi_client_error_cb error_callback_ TVK_GUARDED_BY(lock_) = nullptr;
  void* error_data_ TVK_GUARDED_BY(lock_) = nullptr;
};

}  // namespace qmi
