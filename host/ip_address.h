// Addresses of Internet sockets.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <optional>
#include <string_view>

namespace host {

class ip_address {
 public:
  /// "HOST:PORT". No host names except "localhost": the programs may be linked statically, and the
  /// C library then needs its own shared libraries on the host for look-ups. An IPv6 address is in
  /// brackets. No value when the text is anything else, or the port is 0.
  [[nodiscard]] static std::optional<ip_address> parse(std::string_view text);

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
