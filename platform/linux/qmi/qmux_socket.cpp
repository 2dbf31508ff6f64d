// QMUX, which carries several services and clients on one byte stream: a character device, a
// terminal or a stream socket, or libqmi's proxy in front of a device.
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <termios.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>

#include "host/byte_stream.h"
#include "platform/linux/qmi/qmux_link.h"
#include "platform/linux/qmi/transport.h"
#include "platform/linux/report.h"
#include "protocol/modem_socket.h"

namespace qmi {
namespace {

/// A port of its own for its user, although it shares the connection.
class qmux_socket final : public transport {
 public:
  qmux_socket(host::file_descriptor event, std::shared_ptr<qmux_link> link)
      : transport(std::move(event)),
        link_(std::move(link)),
        port_(std::make_shared<qmux_link::port>(descriptor())) {
    link_->add(port_);
  }
  ~qmux_socket() override { link_->close(port_); }
  qmux_socket(const qmux_socket&) = delete;
  qmux_socket& operator=(const qmux_socket&) = delete;

  io_result send(address to, byte_view datagram) override {
    return link_->send(port_, to, datagram);
  }
  received receive(std::span<std::uint8_t> buffer) override {
    return link_->receive(*port_, buffer);
  }
  [[nodiscard]] address name_service() const override {
    return {protocol::modem_socket::local_node, protocol::qrtr::control_port};
  }

 private:
  std::shared_ptr<qmux_link> link_;
  std::shared_ptr<qmux_link::port> port_;
};

// The process has one link, because it has one endpoint.
struct current_link {
  platform::mutex lock;
  std::weak_ptr<qmux_link> link TVK_GUARDED_BY(lock);
};

// Never destroyed: the library's threads use it until the process ends.
current_link& current() {
  static current_link& only = *new current_link;
  return only;
}

void release_at_exit() {
  std::shared_ptr<qmux_link> link;
  {
    const platform::mutex_lock hold(current().lock);
    link = current().link.lock();
  }
  if (link) link->release_all();
}

/// Whether the modem may still come: it is switched off, unplugged or restarting.
bool may_come(int code) {
  return code == ENOENT || code == ENXIO || code == ENODEV || code == EIO || code == ECONNREFUSED;
}

host::opened_stream open_stream(const std::string& path) {
  struct stat status {};
  const bool is_socket = ::stat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
  const bool is_other = !is_socket && status.st_mode != 0 && !S_ISCHR(status.st_mode);
  if (is_other) return {{}, "not a character device, terminal or socket"};
  if (is_socket) return host::connect_to_socket(path);
  host::opened_stream device = host::open_device(path);
  // What a terminal's last user has not read may begin in the middle of a frame.
  if (device.file.valid()) ::tcflush(device.file.get(), TCIFLUSH);
  return device;
}

/// `device`: as for qmux_link.
opened open_port(host::opened_stream (*open)(const std::string&), const std::string& name,
                 const std::string& device) {
  const platform::mutex_lock hold(current().lock);
  auto link = current().link.lock();
  if (!link || link->is_gone()) {
    host::opened_stream stream = open(name);
    if (!stream.file.valid()) {
      if (may_come(stream.code)) return {open_result::absent, nullptr};
      platform::report_once("TVK_MODEM=" + endpoint_name() + ": " + stream.error);
      return {};
    }
    static const int registered = std::atexit(release_at_exit);
    static_cast<void>(registered);
    link = qmux_link::start(std::move(stream.file), device);
    if (!link) return {};
    current().link = link;
  }
  host::file_descriptor event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!event.valid()) return {};
  return {open_result::open, std::make_unique<qmux_socket>(std::move(event), std::move(link))};
}

}  // namespace

opened open_qmux(const std::string& path) {
  return open_port(open_stream, path, {});
}

opened open_qmi_proxy(const std::string& device) {
  return open_port(host::connect_to_abstract_socket, "qmi-proxy", device);
}

}  // namespace qmi
