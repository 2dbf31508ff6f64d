// The kernel's QRTR sockets.
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "host/uninterrupted.h"
#include "platform/linux/qmi/transport.h"
#include "platform/linux/report.h"

namespace qmi {
namespace {

constexpr int af_qipcrtr = 42;

/// The kernel's socket address; not every kernel's headers come with <linux/qrtr.h>.
struct sockaddr_qrtr {
  sa_family_t family;
  std::uint32_t node;
  std::uint32_t port;
};
static_assert(sizeof(sockaddr_qrtr) == 12);

const sockaddr* generic(const sockaddr_qrtr& name) {
  return reinterpret_cast<const sockaddr*>(&name);
}
sockaddr* generic(sockaddr_qrtr& name) {
  return reinterpret_cast<sockaddr*>(&name);
}

host::file_descriptor open_socket() {
  return host::file_descriptor(::socket(af_qipcrtr, SOCK_DGRAM | SOCK_CLOEXEC, 0));
}

class qrtr_socket final : public transport {
 public:
  qrtr_socket(host::file_descriptor socket, std::uint32_t own_node)
      : transport(std::move(socket)), own_node_(own_node) {}

  io_result send(address to, byte_view datagram) override {
    const sockaddr_qrtr name{af_qipcrtr, to.node, to.port};
    // No MSG_NOSIGNAL: the socket family accepts no flag but MSG_DONTWAIT.
    const ssize_t sent = host::uninterrupted([&] {
      return ::sendto(descriptor(), datagram.data(), datagram.size(), MSG_DONTWAIT, generic(name),
                      sizeof name);
    });
    if (sent >= 0) return io_result::done;
    return errno == EAGAIN ? io_result::would_block : io_result::gone;
  }

  received receive(std::span<std::uint8_t> buffer) override {
    sockaddr_qrtr name{};
    socklen_t name_size = sizeof name;
    // The socket family does not report the full size of a truncated datagram, but a truncated
    // message contradicts the length in its own header and is dropped for that.
    const ssize_t got = host::uninterrupted([&] {
      return ::recvfrom(descriptor(), buffer.data(), buffer.size(), MSG_DONTWAIT, generic(name),
                        &name_size);
    });
    if (got >= 0) return {io_result::done, {name.node, name.port}, static_cast<std::size_t>(got)};
    return {errno == EAGAIN ? io_result::would_block : io_result::gone, {}, 0};
  }

  [[nodiscard]] address name_service() const override {
    return {own_node_, protocol::qrtr::control_port};
  }

 private:
  std::uint32_t own_node_;
};

}  // namespace

bool have_qrtr() {
  return open_socket().valid();
}

opened open_qrtr() {
  auto fd = open_socket();
  sockaddr_qrtr own{};
  socklen_t size = sizeof own;
  if (!fd.valid() || ::getsockname(fd.get(), generic(own), &size) != 0) {
    platform::report_once(std::string("TVK_MODEM=qrtr: ") + std::strerror(errno) +
                          "; expected a kernel with AF_QIPCRTR sockets");
    return {};
  }
  return {open_result::open, std::make_unique<qrtr_socket>(std::move(fd), own.node)};
}

}  // namespace qmi
