// A modem of raw socket calls and bytes written by hand. It shares no code with the programs under
// test: what both take for the modem socket's contract is thereby compared.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/bytes.h"
#include "support/temp_dir.h"

namespace support {

/// A datagram with its far address: the source of what the modem sends, the destination of what
/// it received.
struct datagram {
  std::uint32_t node = 0;
  std::uint32_t port = 0;
  bytes data;
};

struct qmi_server {
  std::uint32_t service = 0xFFE4;
  std::uint32_t instance_word = 0x0001;  ///< (instance << 8) | version
  std::uint32_t node = 0;
  std::uint32_t port = 0x101;

  friend bool operator==(const qmi_server&, const qmi_server&) = default;
};

[[nodiscard]] bytes qmi_response(const bytes& request, const bytes& tlvs);
[[nodiscard]] std::vector<datagram> reply(const datagram& request, const bytes& tlvs);

class hand_modem {
 public:
  /// Gets each request, in the modem's thread, and returns what is sent back on its connection.
  using handler = std::function<std::vector<datagram>(const datagram& request)>;

  explicit hand_modem(std::vector<qmi_server> servers = {qmi_server{}});
  hand_modem(const hand_modem&) = delete;
  hand_modem& operator=(const hand_modem&) = delete;
  ~hand_modem();

  [[nodiscard]] std::string endpoint() const { return "unix:" + dir_.file("modem.sock"); }

  void on_request(handler answer) {
    const std::lock_guard lock(mutex_);
    handler_ = std::move(answer);
  }
  void answer_with_tlvs(const bytes& tlvs) {
    on_request([tlvs](const datagram& request) { return reply(request, tlvs); });
  }

  /// NEW_SERVER to the lookups that match, and to those that come.
  void publish(const qmi_server& server) {
    const std::lock_guard lock(mutex_);
    servers_.push_back(server);
    announce(new_server, server);
  }
  /// DEL_SERVER to the lookups that match.
  void withdraw(const qmi_server& server) {
    const std::lock_guard lock(mutex_);
    std::erase(servers_, server);
    announce(del_server, server);
  }
  /// NEW_SERVER and DEL_SERVER to the lookups that match: no lookup finds the server.
  void flap(const qmi_server& server) {
    const std::lock_guard lock(mutex_);
    announce(new_server, server);
    announce(del_server, server);
  }
  /// To every connection that has sent data to a server.
  void send(const datagram& message);
  void close_connections();

  /// What came for servers so far, control packets left out.
  [[nodiscard]] std::vector<datagram> requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
  }
  void forget_requests() {
    const std::lock_guard lock(mutex_);
    requests_.clear();
  }

 private:
  static constexpr std::uint32_t new_server = 4;
  static constexpr std::uint32_t del_server = 5;
  struct connection {
    int socket = -1;
    std::vector<std::uint32_t> lookups;  ///< services
    bool talks_to_server = false;
  };

  void run();
  void receive(std::vector<connection>::iterator from);
  void control(connection& from, const bytes& packet);
  void announce(std::uint32_t command, const qmi_server& server);

  temp_dir dir_;
  int listener_ = -1;
  mutable std::mutex mutex_;
  std::vector<qmi_server> servers_;
  std::vector<connection> connections_;
  std::vector<datagram> requests_;
  handler handler_;
  bytes buffer_ = bytes(70000);  ///< the modem thread's
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace support
