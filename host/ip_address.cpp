#include "host/ip_address.h"

#include <arpa/inet.h>

#include <charconv>
#include <cstdint>
#include <string>
#include <system_error>

namespace host {

std::optional<ip_address> ip_address::parse(std::string_view text) {
  const auto colon = text.find_last_of(':');
  if (colon == std::string_view::npos) return std::nullopt;
  std::string host(text.substr(0, colon));
  if (host == "localhost") host = "127.0.0.1";
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  const auto port = text.substr(colon + 1);
  const char* const end = port.data() + port.size();
  std::uint16_t number = 0;
  const auto result = std::from_chars(port.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end || number == 0) return std::nullopt;

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

}  // namespace host
