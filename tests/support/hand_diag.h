// The DIAG port of a modem, of raw system calls and bytes written by hand: it shares no code with
// the programs under test.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/diag_frame.h"
#include "support/temp_dir.h"

namespace support {

class hand_diag {
 public:
  /// Gets each request, without its framing, in the port's thread.
  using handler = std::function<void(const bytes& request)>;
  enum class kind { unix_socket, packet_path, packet_name, tcp, tty };

  explicit hand_diag(kind which = kind::unix_socket);
  hand_diag(const hand_diag&) = delete;
  hand_diag& operator=(const hand_diag&) = delete;
  ~hand_diag();

  [[nodiscard]] const std::string& endpoint() const { return endpoint_; }
  void on_request(handler answer);

  /// To the latest connection: frames as they are, on a packet socket without their framing.
  void write(const bytes& wire);
  void close_connection();

  [[nodiscard]] std::vector<bytes> requests() const;

 private:
  [[nodiscard]] bool put(const bytes& some) const;
  void take(const bytes& request);
  void run();
  void serve(int connection);

  temp_dir dir_;
  std::string endpoint_;
  bool keeps_packets_ = false;
  int listener_ = -1;
  int terminal_ = -1;  ///< the program's side of a tty, so that it does not go with the program
  mutable std::mutex mutex_;
  int connection_ = -1;
  handler handler_;
  std::vector<bytes> requests_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace support
