// The modem socket (protocol/modem_socket.h): one connection is one port.
#include "protocol/modem_socket.h"

#include <sys/socket.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "host/private_files.h"
#include "host/uninterrupted.h"
#include "host/unix_address.h"
#include "platform/linux/qmi/transport.h"
#include "platform/linux/report.h"

namespace qmi {
namespace {

namespace wire = protocol::modem_socket;

/// The iovec type is shared by reading and writing calls, so it has no const.
iovec writable(byte_view bytes) {
  return {const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
}

class modem_socket final : public transport {
 public:
  using transport::transport;

  io_result send(address to, byte_view datagram) override {
    const auto prefix = wire::build_address(to);
    std::array<iovec, 2> parts{writable(prefix), writable(datagram)};
    msghdr packet{};
    packet.msg_iov = parts.data();
    packet.msg_iovlen = parts.size();
    const ssize_t sent = host::uninterrupted(
        [&] { return ::sendmsg(descriptor(), &packet, MSG_DONTWAIT | MSG_NOSIGNAL); });
    if (sent >= 0) return io_result::done;
    return errno == EAGAIN ? io_result::would_block : io_result::gone;
  }

  received receive(std::span<std::uint8_t> buffer) override {
    std::array<std::uint8_t, wire::address_size> prefix{};
    std::array<iovec, 2> parts{iovec{prefix.data(), prefix.size()},
                               iovec{buffer.data(), buffer.size()}};
    msghdr packet{};
    packet.msg_iov = parts.data();
    packet.msg_iovlen = parts.size();
    const ssize_t got = host::uninterrupted(
        [&] { return ::recvmsg(descriptor(), &packet, MSG_DONTWAIT | MSG_TRUNC); });
    // A packet too short for an address cannot be from a modem, so the connection is useless.
    if (got >= static_cast<ssize_t>(prefix.size())) {
      return {io_result::done, wire::parse_address(prefix),
              static_cast<std::size_t>(got) - prefix.size()};
    }
    const bool is_empty = got < 0 && errno == EAGAIN;
    return {is_empty ? io_result::would_block : io_result::gone, {}, 0};
  }

  [[nodiscard]] address name_service() const override {
    return {wire::local_node, protocol::qrtr::control_port};
  }
};

opened refuse(const std::string& path, const std::string& why) {
  platform::report_once("TVK_MODEM=unix:" + path + ": " + why +
                        "; expected the SOCK_SEQPACKET socket of a modem");
  return {};
}

}  // namespace

opened open_modem_socket(const std::string& path) {
  const auto name = host::unix_address::of_path(path);
  if (!name) {
    return refuse(path, "longer than the " + std::to_string(host::unix_address::longest_path) +
                            " bytes of a socket path");
  }
  if (const auto distrust = host::distrust_of_socket(path); !distrust.empty()) {
    return refuse(path, distrust);
  }
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return {open_result::absent, nullptr};
    return refuse(path, std::strerror(errno));
  }
  if (!S_ISSOCK(status.st_mode)) return refuse(path, "not a socket");

  host::file_descriptor fd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  if (!fd.valid() || ::connect(fd.get(), name->get(), name->size()) != 0) {
    // The socket file was left by a modem that has ended, or was removed meanwhile.
    if (errno == ECONNREFUSED || errno == ENOENT) return {open_result::absent, nullptr};
    return refuse(path, std::strerror(errno));
  }
  return {open_result::open, std::make_unique<modem_socket>(std::move(fd))};
}

}  // namespace qmi
