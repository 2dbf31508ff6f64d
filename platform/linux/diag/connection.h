// A connection to a modem's DIAG port: sends requests, and hands what comes to those who wait for
// it, on a thread of its own. A port that goes is opened anew by the next request.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "host/file_descriptor.h"
#include "host/wake_event.h"
#include "platform/linux/library_thread.h"
#include "platform/mutex.h"
#include "protocol/bytes.h"

namespace diag {

using protocol::byte_view;

/// Everything is called on the connection's thread, one after the other, without its locks.
struct listeners {
  std::function<void(byte_view inner)> log;  ///< an inner log packet: length, code, time, payload
  /// length u16, event word u16 of a full time, time u64, payload: none, one byte, two, or any
  /// number behind its u8; in the shortest of these forms
  std::function<void(byte_view event)> event;
  std::function<void(bool is_there)> port;  ///< the port came back, or went
};

/// Gets one answer, a raw packet.
using answer_handler = std::function<void(byte_view answer)>;

class connection : public std::enable_shared_from_this<connection> {
 public:
  explicit connection(listeners to);

  /// False when there is no port, or no thread.
  [[nodiscard]] bool start();

  /// Nothing is called any more when this returns; when called from the connection's own thread,
  /// nothing but what runs now.
  void stop();

  /// `owner` is whom forget() names. False when the request could not be sent.
  [[nodiscard]] bool send(byte_view request, int owner, answer_handler handler);

  /// Answers to this owner's requests are dropped from now on; what runs now is waited for.
  void forget(int owner);

  [[nodiscard]] bool has_port() { return present_port() != nullptr; }

 private:
  using shared_port = std::shared_ptr<host::file_descriptor>;
  struct waiting {
    int owner;
    std::vector<std::uint8_t> request;
    answer_handler handler;
  };

  /// The port, opened anew when it went.
  shared_port port();
  shared_port present_port();
  void lose(const shared_port& lost);

  void run();
  void tell_port(bool is_there);
  void wait_for_bytes(const shared_port& from) const;
  void handle(byte_view packet);
  void handle_answer(byte_view packet);

  const listeners to_;
  const host::wake_event wake_;
  std::atomic<bool> stopping_ = false;
  platform::library_thread thread_;

  // Taken in this order.
  platform::mutex calling_;  // while something is called
  platform::mutex sending_;  // while a frame is written
  platform::mutex lock_;
  shared_port port_ TVK_GUARDED_BY(lock_);
  std::vector<waiting> waiting_ TVK_GUARDED_BY(lock_);
};

}  // namespace diag
