// Addresses of Unix sockets.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <optional>
#include <string_view>

namespace host {

class unix_address {
 public:
  /// In bytes, without the zero that ends it.
  static constexpr std::size_t longest_path = sizeof(sockaddr_un::sun_path) - 1;

  /// Of a place in the file system; nothing when the path is longer than `longest_path`.
  [[nodiscard]] static std::optional<unix_address> of_path(std::string_view path);
  /// Of a name that is in no file system; at most `longest_path` bytes, what is over is cut off.
  [[nodiscard]] static unix_address of_abstract_name(std::string_view name);

  // For bind and connect.
  [[nodiscard]] const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address_); }
  [[nodiscard]] socklen_t size() const { return size_; }

 private:
  unix_address(std::string_view text, std::size_t zeros_before, std::size_t zeros_after);

  sockaddr_un address_{};
  socklen_t size_;
};

}  // namespace host
