// A connection to a modem's DIAG port. It sends requests, and its own thread passes answers, logs
// and events to their handlers. After the port is lost, the next request reopens it.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "host/byte_stream.h"
#include "host/wake_event.h"
#include "platform/linux/library_thread.h"
#include "platform/mutex.h"
#include "protocol/bytes.h"

namespace diag {

using protocol::byte_view;

/// All of these are called on the connection's thread, one at a time. They may send requests.
struct listeners {
  std::function<void(byte_view inner)> log;  ///< an inner log packet: length, code, time, payload
  /// length u16, event word u16 with the full-time form, time u64, then the payload in its shortest
  /// form: nothing, one byte, two bytes, or a u8 length followed by that many
  std::function<void(byte_view event)> event;
  std::function<void(bool is_open)> port;  ///< the port was opened, or lost
};

/// Receives one answer, a raw packet.
using answer_handler = std::function<void(byte_view answer)>;

class connection : public std::enable_shared_from_this<connection> {
 public:
  explicit connection(listeners to);

  /// False when the port cannot be opened or the host has no thread to spare.
  [[nodiscard]] bool start();

  /// No handler runs after this returns, except the caller itself when that is a handler.
  void stop();

  /// `owner` is the number that forget() takes. False when the request could not be sent.
  [[nodiscard]] bool send(byte_view request, int owner, answer_handler handler);

  /// Drops all further answers to this owner's requests; waits for a handler that is running,
  /// unless the caller is one.
  void forget(int owner);

  [[nodiscard]] bool has_port() { return present_port() != nullptr; }

 private:
  using shared_port = std::shared_ptr<host::opened_stream>;
  struct waiting {
    int owner;
    std::vector<std::uint8_t> request;
    answer_handler handler;
  };

  /// The port, reopened if it was lost.
  shared_port port();
  shared_port present_port();
  void lose(const shared_port& lost);

  void run();
  void report_port(bool is_open);
  void wait_for_bytes(const shared_port& from) const;
  void handle(byte_view packet);
  void handle_answer(byte_view packet);

  const listeners to_;
  const host::wake_event wake_;
  std::atomic<bool> stopping_ = false;
  platform::library_thread thread_;

  // Lock order: as declared.
  platform::mutex calling_;  // held while a handler runs
  platform::mutex sending_;  // held while a frame is written
  platform::mutex lock_;
  shared_port port_ TVK_GUARDED_BY(lock_);
  std::vector<waiting> waiting_ TVK_GUARDED_BY(lock_);
};

}  // namespace diag
