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

opened_file failed(int error) {
  std::string text = std::strerror(error);
  if (error == ETIMEDOUT) text += " after " + std::to_string(connect_timeout_ms) + " ms";
  return {{}, std::move(text)};
}

opened_file missing(std::string_view what) {
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

opened_file connect_socket(int family, const sockaddr* address, socklen_t size) {
  file_descriptor stream(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!stream.valid()) return failed(errno);
  if (const int error = connect_in_time(stream.get(), address, size); error != 0) {
    return failed(error);
  }
  return {std::move(stream), {}};
}

opened_file open_unix(const std::string& path) {
  const auto address = unix_address::of_path(path);
  if (!address) return failed(ENAMETOOLONG);
  if (auto distrust = distrust_of_socket(path); !distrust.empty()) {
    return {{}, std::move(distrust)};
  }
  return connect_socket(AF_UNIX, address->get(), address->size());
}

opened_file open_tcp(const std::string& text) {
  const auto colon = text.find_last_of(':');
  if (colon == 0 || text.empty()) return missing("HOST");
  if (colon == std::string::npos || colon + 1 == text.size()) return missing("PORT");
  const auto address = ip_address::parse(text);
  if (!address) return {{}, "not a numeric address (or localhost) and a port number"};
  opened_file result = connect_socket(address->family(), address->get(), address->size());
  const int at_once = 1;
  if (result.file.valid()) {
    ::setsockopt(result.file.get(), IPPROTO_TCP, TCP_NODELAY, &at_once, sizeof at_once);
  }
  return result;
}

/// Sets raw mode, so that all bytes pass unchanged. The speed is left as it was set.
opened_file open_tty(const std::string& path) {
  file_descriptor stream(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  termios settings{};
  if (!stream.valid() || ::tcgetattr(stream.get(), &settings) != 0) return failed(errno);
  ::cfmakeraw(&settings);
  if (::tcsetattr(stream.get(), TCSANOW, &settings) != 0) return failed(errno);
  return {std::move(stream), {}};
}

struct kind {
  std::string_view scheme;
  std::string_view rest;
  opened_file (*open)(const std::string& rest);
};
constexpr kind kinds[] = {
    {"unix", "PATH", open_unix}, {"tcp", "HOST:PORT", open_tcp}, {"tty", "PATH", open_tty}};

}  // namespace

opened_file open_byte_stream(const std::string& endpoint) {
  const auto parts = split_endpoint(endpoint);
  const auto* kind = std::ranges::find(kinds, parts.scheme, &kind::scheme);
  if (kind == std::end(kinds)) return {{}, "no such kind of port"};
  if (parts.rest.empty()) return missing(kind->rest);
  return kind->open(std::string(parts.rest));
}

}  // namespace host
