// A connection to one server of a service: requests, their answers, and indications.
//
// Datagrams are received by the client's own thread, or by a thread that waits for an answer while
// no other receives: that saves a change of threads on the way of every answer. Callbacks run on
// the client's thread alone, while it does not receive: whoever receives queues indications for
// it. So a callback may send requests of its own, and may release the client.
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

  /// Connects, and receives on a thread of its own. QMI_SERVICE_ERR when the server is not there,
  /// QMI_INTERNAL_ERR when the host has no thread or descriptor for it.
  [[nodiscard]] qmi_client_error_type start(qmi_client_type handle, address at);
  void stop() override;

  /// `request`: the whole C structure, or empty for a message without TLVs. No timeout: waits
  /// without limit. Returns when the callbacks of the indications that came before the answer have
  /// returned too, unless the time is over or one of them is the caller.
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
    std::optional<qmi_client_error_type> result = {};
    std::uint64_t indications_before = 0;  ///< queued when the result came
    /// Notified of its result, when nobody receives any more, when an indication was told.
    std::condition_variable_any changed = {};
  };

  struct indication {
    std::uint16_t message_id = 0;
    std::vector<std::uint8_t> tlvs;
  };

  // The client's thread.
  void run();
  void receive_what_is_there();
  void tell_indications();
  [[nodiscard]] bool is_over();
  void end();

  // What a receiving thread does with a datagram.
  void sort(address from, byte_view datagram);
  void queue(const protocol::qmi::message& message);
  void handle_response(const protocol::qmi::message& answer);
  void end_requests(qmi_client_error_type error) TVK_REQUIRES(lock_);

  /// From here to end_turn, this thread alone receives. False when another does.
  [[nodiscard]] bool take_turn() TVK_REQUIRES(lock_);
  void end_turn() TVK_REQUIRES(lock_);
  /// With the turn.
  void receive_until_answered(exchange& request, clock::time_point deadline);
  [[nodiscard]] bool is_answered(const exchange& request);

  /// The first result counts.
  void finish(exchange& request, qmi_client_error_type result) TVK_REQUIRES(lock_);
  /// Waits: true when it is this thread's turn to receive, false when the request has its result.
  [[nodiscard]] bool takes_over_turn(exchange& request, clock::time_point deadline)
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

  std::vector<std::uint8_t> buffer_;  ///< of the thread whose turn it is

  platform::mutex lock_;
  bool is_receiving_ TVK_GUARDED_BY(lock_) = false;
  std::deque<indication> indications_to_tell_ TVK_GUARDED_BY(lock_);
  std::uint64_t queued_ TVK_GUARDED_BY(lock_) = 0;
  std::uint64_t told_ TVK_GUARDED_BY(lock_) = 0;
  std::map<std::uint16_t, exchange*> pending_ TVK_GUARDED_BY(lock_);
  std::uint16_t last_transaction_ TVK_GUARDED_BY(lock_) = 0;
  /// Once set, what every further request returns.
  std::optional<qmi_client_error_type> ended_ TVK_GUARDED_BY(lock_);
  qmi_client_error_cb error_callback_ TVK_GUARDED_BY(lock_) = nullptr;
  void* error_data_ TVK_GUARDED_BY(lock_) = nullptr;
};

}  // namespace qmi
