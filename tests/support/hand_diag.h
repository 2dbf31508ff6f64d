// Ports of a modem that carry a stream of bytes, DIAG's above all, of raw system calls and bytes
// written by hand: they share no code with the programs under test.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "support/diag_frame.h"
#include "support/temp_dir.h"

namespace support {

/// Serves one connection at a time, on a thread of its own.
class hand_port {
 public:
  /// Gets each request, without its framing, in the port's thread.
  using handler = std::function<void(const bytes& request)>;
  enum class kind { unix_socket, packet_path, packet_name, tcp, tty };

  /// Takes the first request off what has come; nothing when it is not whole yet.
  using cutter = std::optional<bytes> (*)(bytes& come);
  static std::optional<bytes> take_request(bytes& come);  ///< of the DIAG port

  explicit hand_port(kind which = kind::unix_socket, cutter cut = take_request);
  hand_port(const hand_port&) = delete;
  hand_port& operator=(const hand_port&) = delete;
  ~hand_port();

  [[nodiscard]] const std::string& endpoint() const { return endpoint_; }
  void on_request(handler answer) {
    const std::lock_guard lock(mutex_);
    handler_ = std::move(answer);
  }

  /// To the latest connection: frames as they are, on a packet socket without their framing.
  void write(bytes wire);
  void close_connection();

  [[nodiscard]] std::vector<bytes> requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
  }

 private:
  void run();
  void serve(int connection);

  temp_dir dir_;
  cutter cut_;
  std::string endpoint_;
  int listener_ = -1;
  int terminal_ = -1;  ///< the program's side of a tty, so that it does not go with the program
  mutable std::mutex mutex_;
  int connection_ = -1;
  handler handler_;
  std::vector<bytes> requests_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

using hand_diag = hand_port;

}  // namespace support
