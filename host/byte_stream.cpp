#include "host/byte_stream.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "host/endpoint.h"
#include "host/private_files.h"
#include "host/unix_address.h"

namespace host {
namespace {

constexpr int connect_timeout_ms = 3000;

opened_stream failed(int error) {
  std::string text = std::strerror(error);
  if (error == ETIMEDOUT) text += " after " + std::to_string(connect_timeout_ms) + " ms";
  return {{}, std::move(text), error};
}

opened_stream missing(std::string_view what) {
  return {{}, std::string(what) + " is missing"};
}

/// Returns 0, or the error of the connection attempt.
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

opened_stream connect_socket(int family, const sockaddr* address, socklen_t size,
                             int type = SOCK_STREAM) {
  file_descriptor stream(::socket(family, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!stream.valid()) return failed(errno);
  if (const int error = connect_in_time(stream.get(), address, size); error != 0) {
    return failed(error);
  }
  return {.file = std::move(stream), .error = {}, .keeps_packets = type == SOCK_SEQPACKET};
}

opened_stream connect_to_path(const std::string& path, int type) {
  const auto address = unix_address::of_path(path);
  if (!address) return failed(ENAMETOOLONG);
  if (auto distrust = distrust_of_socket(path); !distrust.empty()) {
    return {{}, std::move(distrust)};
  }
  return connect_socket(AF_UNIX, address->get(), address->size(), type);
}

opened_stream open_unix_packet(const std::string& text) {
  if (!text.starts_with('@')) return connect_to_path(text, SOCK_SEQPACKET);
  if (text.size() == 1) return missing("NAME");
  if (text.size() - 1 > unix_address::longest_path) return failed(ENAMETOOLONG);
  const auto address = unix_address::of_padded_abstract_name(text.substr(1));
  return connect_socket(AF_UNIX, address.get(), address.size(), SOCK_SEQPACKET);
}

opened_stream connect_tcp(int family, const sockaddr* address, socklen_t size) {
  opened_stream result = connect_socket(family, address, size);
  const int at_once = 1;
  if (result.file.valid()) {
    ::setsockopt(result.file.get(), IPPROTO_TCP, TCP_NODELAY, &at_once, sizeof at_once);
  }
  return result;
}

/// No host names except "localhost": the programs may be linked statically, and the C library then
/// needs its own shared libraries on the host for look-ups. An IPv6 address is in brackets.
opened_stream open_tcp(const std::string& text) {
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

opened_stream open_tty(const std::string& path) {
  opened_stream result = open_device(path);
  if (result.file.valid() && ::isatty(result.file.get()) == 0) return failed(errno);
  return result;
}

struct kind {
  std::string_view scheme;
  std::string_view rest;
  opened_stream (*open)(const std::string& rest);
};
constexpr kind kinds[] = {{"unix", "PATH", connect_to_socket},
                          {"unix-packet", "PATH or @NAME", open_unix_packet},
                          {"tcp", "HOST:PORT", open_tcp},
                          {"tty", "PATH", open_tty}};

}  // namespace

opened_stream connect_to_socket(const std::string& path) {
  return connect_to_path(path, SOCK_STREAM);
}

opened_stream connect_to_abstract_socket(const std::string& name) {
  const auto address = unix_address::of_abstract_name(name);
  return connect_socket(AF_UNIX, address.get(), address.size());
}

opened_stream open_device(const std::string& path) {
  file_descriptor stream(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (!stream.valid()) return failed(errno);
  termios settings{};
  if (::tcgetattr(stream.get(), &settings) == 0) {
    ::cfmakeraw(&settings);
    if (::tcsetattr(stream.get(), TCSANOW, &settings) != 0) return failed(errno);
  }
  return {std::move(stream), {}};
}

opened_stream open_byte_stream(const std::string& endpoint) {
  const auto parts = split_endpoint(endpoint);
  const auto* kind = std::ranges::find(kinds, parts.scheme, &kind::scheme);
  if (kind == std::end(kinds)) return {{}, "no such kind of port"};
  if (parts.rest.empty()) return missing(kind->rest);
  return kind->open(std::string(parts.rest));
}

}  // namespace host
