// Addresses of Internet sockets.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host {

class ip_address {
 public:
  /// "HOST:PORT". No host names except "localhost": the programs may be linked statically, and the
  /// C library then needs its own shared libraries on the host for look-ups. An IPv6 address is in
  /// brackets. No value when the text is anything else, or the port is below `least_port`.
  [[nodiscard]] static std::optional<ip_address> parse(std::string_view text,
                                                       std::uint16_t least_port = 1);
  /// This machine's side of a socket; no value unless it is an Internet socket.
  [[nodiscard]] static std::optional<ip_address> of_socket(int socket);

  /// As parse() takes it.
  [[nodiscard]] std::string text() const;
  [[nodiscard]] std::uint16_t port() const;
  /// Whether only this machine reaches it.
  [[nodiscard]] bool is_loopback() const;
  [[nodiscard]] int family() const { return address_.any.sa_family; }
  [[nodiscard]] const sockaddr* get() const { return &address_.any; }
  [[nodiscard]] socklen_t size() const {
    return family() == AF_INET ? sizeof address_.v4 : sizeof address_.v6;
  }

 private:
  union {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6;
  } address_{};
};

}  // namespace host
