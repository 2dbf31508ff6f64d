#include "host/ip_address.h"

#include <arpa/inet.h>

#include <array>
#include <charconv>
#include <system_error>

namespace host {

std::optional<ip_address> ip_address::parse(std::string_view text, std::uint16_t least_port) {
  const auto colon = text.find_last_of(':');
  if (colon == std::string_view::npos) return std::nullopt;
  std::string host(text.substr(0, colon));
  if (host == "localhost") host = "127.0.0.1";
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  const auto port = text.substr(colon + 1);
  const char* const end = port.data() + port.size();
  std::uint16_t number = 0;
  const auto result = std::from_chars(port.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end || number < least_port) return std::nullopt;

  ip_address made;
  in_addr v4{};
  in6_addr v6{};
  if (::inet_pton(AF_INET, host.c_str(), &v4) == 1) {
    made.address_.v4 = {};
    made.address_.v4.sin_family = AF_INET;
    made.address_.v4.sin_port = htons(number);
    made.address_.v4.sin_addr = v4;
    return made;
  }
  if (::inet_pton(AF_INET6, host.c_str(), &v6) == 1) {
    made.address_.v6 = {};
    made.address_.v6.sin6_family = AF_INET6;
    made.address_.v6.sin6_port = htons(number);
    made.address_.v6.sin6_addr = v6;
    return made;
  }
  return std::nullopt;
}

std::optional<ip_address> ip_address::of_socket(int socket) {
  ip_address made;
  socklen_t size = sizeof made.address_;
  if (::getsockname(socket, &made.address_.any, &size) != 0) return std::nullopt;
  if (made.family() != AF_INET && made.family() != AF_INET6) return std::nullopt;
  return made;
}

std::string ip_address::text() const {
  const bool is_v4 = family() == AF_INET;
  const void* const host = is_v4 ? static_cast<const void*>(&address_.v4.sin_addr)
                                 : static_cast<const void*>(&address_.v6.sin6_addr);
  std::array<char, INET6_ADDRSTRLEN> name{};
  ::inet_ntop(family(), host, name.data(), name.size());
  std::string all(is_v4 ? "" : "[");
  return all.append(name.data()).append(is_v4 ? ":" : "]:").append(std::to_string(port()));
}

std::uint16_t ip_address::port() const {
  return ntohs(family() == AF_INET ? address_.v4.sin_port : address_.v6.sin6_port);
}

bool ip_address::is_loopback() const {
  constexpr std::uint32_t network = 127;
  if (family() == AF_INET) return ntohl(address_.v4.sin_addr.s_addr) >> 24 == network;
  return IN6_IS_ADDR_LOOPBACK(&address_.v6.sin6_addr) != 0;
}

}  // namespace host
