#include "host/byte_stream.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "host/endpoint.h"
#include "host/ip_address.h"
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

opened_stream open_tcp(const std::string& text) {
  const auto colon = text.find_last_of(':');
  if (colon == 0 || text.empty()) return missing("HOST");
  if (colon == std::string::npos || colon + 1 == text.size()) return missing("PORT");
  const auto address = ip_address::parse(text);
  if (!address) return {{}, "not a numeric address (or localhost) and a port number"};
  opened_stream result = connect_socket(address->family(), address->get(), address->size());
  const int at_once = 1;
  if (result.file.valid()) {
    ::setsockopt(result.file.get(), IPPROTO_TCP, TCP_NODELAY, &at_once, sizeof at_once);
  }
  return result;
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
