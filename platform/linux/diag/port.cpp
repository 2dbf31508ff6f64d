#include "platform/linux/diag/port.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <termios.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "host/directories.h"
#include "host/endpoint.h"
#include "host/private_files.h"
#include "platform/linux/report.h"

namespace diag {
namespace {

using host::file_descriptor;

constexpr int connect_timeout_ms = 3000;

/// A port, or why there is none.
struct opened {
  file_descriptor port;
  std::string error;
};

opened failed(int error) {
  std::string text = std::strerror(error);
  if (error == ETIMEDOUT) text += " after " + std::to_string(connect_timeout_ms) + " ms";
  return {{}, std::move(text)};
}

opened missing(std::string_view what) {
  return {{}, std::string(what) + " is missing"};
}

/// 0, or the error of a connection that was begun.
int connect_in_time(int socket, const sockaddr* address, socklen_t size) {
  if (::connect(socket, address, size) == 0) return 0;
  if (errno != EINPROGRESS) return errno;
  pollfd wait{socket, POLLOUT, 0};
  const int ready = ::poll(&wait, 1, connect_timeout_ms);
  if (ready <= 0) return ready == 0 ? ETIMEDOUT : errno;
  int error = 0;
  socklen_t error_size = sizeof error;
  ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &error_size);
  return error;
}

opened connect_socket(int family, const sockaddr* address, socklen_t size) {
  file_descriptor port(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!port.valid()) return failed(errno);
  if (const int error = connect_in_time(port.get(), address, size); error != 0) {
    return failed(error);
  }
  return {std::move(port), {}};
}

opened open_unix(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return failed(ENAMETOOLONG);
  path.copy(static_cast<char*>(address.sun_path), path.size());
  if (auto distrust = host::distrust_of_socket(path); !distrust.empty()) {
    return {{}, std::move(distrust)};
  }
  return connect_socket(AF_UNIX, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

opened connect_tcp(int family, const sockaddr* address, socklen_t size) {
  opened result = connect_socket(family, address, size);
  const int at_once = 1;
  if (result.port.valid()) {
    ::setsockopt(result.port.get(), IPPROTO_TCP, TCP_NODELAY, &at_once, sizeof at_once);
  }
  return result;
}

/// Names but "localhost" are not looked up: the programs are linked statically, and the C library's
/// look-up then needs its own shared libraries on the host. An IPv6 address stands in brackets.
opened open_tcp(const std::string& text) {
  const auto colon = text.find_last_of(':');
  std::string host = text.substr(0, colon);
  if (host.empty()) return missing("HOST");
  if (colon == std::string::npos || colon + 1 == text.size()) return missing("PORT");
  if (host == "localhost") host = "127.0.0.1";
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  std::uint16_t number = 0;
  std::from_chars(text.data() + colon + 1, text.data() + text.size(), number);
  sockaddr_in v4{};
  v4.sin_family = AF_INET;
  v4.sin_port = htons(number);
  sockaddr_in6 v6{};
  v6.sin6_family = AF_INET6;
  v6.sin6_port = htons(number);
  if (number != 0 && ::inet_pton(AF_INET, host.c_str(), &v4.sin_addr) == 1) {
    return connect_tcp(AF_INET, reinterpret_cast<const sockaddr*>(&v4), sizeof v4);
  }
  if (number != 0 && ::inet_pton(AF_INET6, host.c_str(), &v6.sin6_addr) == 1) {
    return connect_tcp(AF_INET6, reinterpret_cast<const sockaddr*>(&v6), sizeof v6);
  }
  return {{}, "not a numeric address (or localhost) and a port number"};
}

/// Raw: every byte passes as it is. The speed stays what it was set to.
opened open_tty(const std::string& path) {
  file_descriptor port(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  termios settings{};
  if (!port.valid() || ::tcgetattr(port.get(), &settings) != 0) return failed(errno);
  ::cfmakeraw(&settings);
  if (::tcsetattr(port.get(), TCSANOW, &settings) != 0) return failed(errno);
  return {std::move(port), {}};
}

struct kind {
  std::string_view scheme;
  std::string_view rest;
  opened (*open)(const std::string& rest);
};
constexpr kind kinds[] = {
    {"unix", "PATH", open_unix}, {"tcp", "HOST:PORT", open_tcp}, {"tty", "PATH", open_tty}};

opened open_endpoint(const std::string& text) {
  const auto parts = host::split_endpoint(text);
  const auto* kind = std::ranges::find(kinds, parts.scheme, &kind::scheme);
  if (kind == std::end(kinds)) return {{}, "no such kind of port"};
  if (parts.rest.empty()) return missing(kind->rest);
  return kind->open(std::string(parts.rest));
}

/// write, and for sockets without the signal that a closed far end brings.
ssize_t write_some(int port, protocol::byte_view bytes) {
  const ssize_t sent = ::send(port, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  if (sent >= 0 || errno != ENOTSOCK) return sent;
  return ::write(port, bytes.data(), bytes.size());
}

}  // namespace

std::string named_port() {
  // Nothing in our programs writes the environment.
  const char* chosen = std::getenv("TVK_DIAG");
  if (chosen != nullptr && *chosen != '\0') return chosen;
  return "unix:" + host::runtime_directory() + "/diag.sock";
}

file_descriptor open_port(const std::string& text) {
  opened result = open_endpoint(text);
  if (!result.port.valid()) {
    platform::report_once("DIAG port " + text + ": " + result.error +
                          "; expected one of a modem, as TVK_DIAG=unix:PATH, tcp:HOST:PORT "
                          "or tty:PATH");
  }
  return std::move(result.port);
}

bool write_all(int port, protocol::byte_view bytes, std::chrono::milliseconds patience) {
  using clock = std::chrono::steady_clock;
  auto until = clock::now() + patience;
  while (!bytes.empty()) {
    const ssize_t sent = write_some(port, bytes);
    if (sent >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(sent));
      until = clock::now() + patience;
      continue;
    }
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return false;
    // Signals may interrupt every wait: they do not prolong it.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - clock::now());
    if (left.count() <= 0) return false;
    pollfd wait{port, POLLOUT, 0};
    if (::poll(&wait, 1, static_cast<int>(left.count())) == 0) return false;
  }
  return true;
}

}  // namespace diag
