// One QMUX connection to a modem, which all ports of the process share: a device gives each byte to
// only one reader. It knows the modem's services, takes a client id for each port and service, and
// gives the ids back when the port closes or the process ends.
#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/file_descriptor.h"
#include "platform/linux/library_thread.h"
#include "platform/linux/qmi/port_loop.h"
#include "platform/linux/qmi/transport.h"
#include "platform/mutex.h"
#include "protocol/qmux.h"

namespace qmi {

class qmux_link {
 public:
  /// One port's part of the link. Its members belong to the link's lock.
  struct port {
    explicit port(int readable_event) : event(readable_event) {}

    struct datagram {
      address from;
      std::vector<std::uint8_t> bytes;
    };
    /// A client of a service. Until it has its id, what is sent to it waits.
    struct client {
      std::uint8_t id = 0;
      std::deque<std::vector<std::uint8_t>> waiting;
    };

    const int event;  ///< an eventfd that is set while something is to be received
    std::deque<datagram> received;
    std::vector<protocol::qrtr::server> lookups;
    std::map<std::uint8_t, client> clients;  ///< by service
    bool is_closing = false;
  };

  /// `device`: for the proxy in front of which it is; empty without a proxy. Null when the host has
  /// no thread or descriptor to spare.
  [[nodiscard]] static std::shared_ptr<qmux_link> start(host::file_descriptor stream,
                                                        const std::string& device);
  ~qmux_link();

  void add(const std::shared_ptr<port>& added);
  /// Gives back the port's client ids, and waits a moment for the modem to confirm that.
  void close(const std::shared_ptr<port>& closed);
  [[nodiscard]] io_result send(const std::shared_ptr<port>& from, address to, byte_view datagram);
  [[nodiscard]] received receive(port& at, std::span<std::uint8_t> buffer);

  [[nodiscard]] bool is_gone();
  /// At the end of the process: gives back all client ids. Nothing is sent afterwards.
  void release_all();

 private:
  using control_id = protocol::qmux::control_id;
  /// A request to CTL that is not answered yet.
  struct control_request {
    control_id id{};
    std::uint8_t service = 0;          ///< for the messages about client ids
    std::shared_ptr<port> about = {};  ///< likewise
  };

  explicit qmux_link(host::file_descriptor stream) : stream_(std::move(stream)) {}

  // The link's thread.
  void run();
  void read_some(std::span<std::uint8_t> buffer);
  void take(const protocol::qmux::frame& frame) TVK_REQUIRES(lock_);
  void take_control(byte_view message) TVK_REQUIRES(lock_);
  [[nodiscard]] int wait_time();

  // Services.
  void ask_for_services() TVK_REQUIRES(lock_);
  void take_services(byte_view tlvs) TVK_REQUIRES(lock_);
  void look_up(port& from, const protocol::qrtr::server& asked) TVK_REQUIRES(lock_);

  // Client ids.
  void allocate(const std::shared_ptr<port>& to, std::uint8_t service) TVK_REQUIRES(lock_);
  void allocated(const control_request& asked, byte_view tlvs) TVK_REQUIRES(lock_);
  void release(const std::shared_ptr<port>& from, std::uint8_t service) TVK_REQUIRES(lock_);
  void start_closing(const std::shared_ptr<port>& closed) TVK_REQUIRES(lock_);
  [[nodiscard]] bool has_clients() const TVK_REQUIRES(lock_);

  void ask_control(const control_request& what, byte_view tlvs) TVK_REQUIRES(lock_);
  void write(const protocol::qmux::frame& frame) TVK_REQUIRES(lock_);
  void write_waiting() TVK_REQUIRES(lock_);
  static void deliver(port& to, address from, byte_view datagram);
  static void announce(port& to, protocol::qrtr::command change,
                       const protocol::qrtr::server& about);
  void fail() TVK_REQUIRES(lock_);

  host::file_descriptor stream_;
  stop_flag stop_;
  platform::library_thread thread_;
  protocol::qmux::frame_cutter frames_;  ///< the thread's
  host::wake_event wake_;                ///< the thread has more to wait for

  platform::mutex lock_;
  std::condition_variable_any changed_;  ///< a client id was given back, or the link is gone
  bool is_gone_ TVK_GUARDED_BY(lock_) = false;
  std::set<std::shared_ptr<port>> ports_ TVK_GUARDED_BY(lock_);
  std::optional<std::vector<protocol::qrtr::server>> services_ TVK_GUARDED_BY(lock_);
  /// QMUX does not announce services: while a lookup has found none, they are asked for again.
  clock::time_point ask_again_ TVK_GUARDED_BY(lock_) = clock::time_point::max();
  std::map<std::uint8_t, control_request> pending_ TVK_GUARDED_BY(lock_);
  std::uint8_t last_transaction_ TVK_GUARDED_BY(lock_) = 0;
  std::deque<std::vector<std::uint8_t>> unwritten_ TVK_GUARDED_BY(lock_);  ///< frames
  std::size_t written_ TVK_GUARDED_BY(lock_) = 0;                          ///< of the first one
};

}  // namespace qmi
