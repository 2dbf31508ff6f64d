// A QMUX modem that sends anything: the client's link must take it, in whatever pieces, and end
// when the modem does.
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

#include "host/uninterrupted.h"
#include "platform/linux/qmi/qmux_link.h"
#include "protocol/modem_socket.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

/// The first byte is the size of the pieces, and whether there is a proxy.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  setenv("TVK_MODEM", "qmux:fuzzed", 1);
  std::array<int, 2> ends{};
  require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) == 0);
  const auto link =
      qmi::qmux_link::start(host::file_descriptor(ends[0]), (data[0] & 1) != 0 ? "/dev/x" : "");
  require(link != nullptr);
  const host::file_descriptor event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  const auto port = std::make_shared<qmi::qmux_link::port>(event.get());
  link->add(port);
  const auto lookup = protocol::qrtr::build_control(
      {protocol::qrtr::command::new_lookup, {0x11, 0, protocol::qrtr::address{}}});
  constexpr std::array<std::uint8_t, 7> request{0x00, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00};
  static_cast<void>(
      link->send(port, {protocol::modem_socket::local_node, protocol::qrtr::control_port}, lookup));
  static_cast<void>(link->send(port, {protocol::modem_socket::modem_node, 0x11}, request));

  std::span<const std::uint8_t> rest(data + 1, size - 1);
  const std::size_t piece = data[0] < 2 ? size : data[0];
  // A link that has given up on what came before reads no more.
  while (!rest.empty() && !link->is_gone()) {
    const auto next = rest.first(std::min(piece, rest.size()));
    const ssize_t put = ::send(ends[1], next.data(), next.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (put > 0) rest = rest.subspan(static_cast<std::size_t>(put));
  }
  ::shutdown(ends[1], SHUT_WR);
  std::array<std::uint8_t, 256> buffer{};
  for (;;) {
    const qmi::received got = link->receive(*port, buffer);
    if (got.result == qmi::io_result::gone) break;
    if (got.result == qmi::io_result::done) continue;
    pollfd wait{event.get(), POLLIN, 0};
    require(host::uninterrupted([&] { return ::poll(&wait, 1, 5000); }) == 1);
  }
  link->close(port);
  ::close(ends[1]);
  return 0;
}
