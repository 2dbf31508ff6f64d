// Addresses of Unix sockets.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <optional>
#include <string_view>

namespace host {

class unix_address {
 public:
  /// In bytes, without the terminating zero.
  static constexpr std::size_t longest_path = sizeof(sockaddr_un::sun_path) - 1;

  /// The address of a path in the file system; no value when it is longer than `longest_path`.
  [[nodiscard]] static std::optional<unix_address> of_path(std::string_view path);
  /// An address in the abstract namespace, outside the file system. The name is cut to
  /// `longest_path` bytes.
  [[nodiscard]] static unix_address of_abstract_name(std::string_view name);
  /// The same with zeros up to the longest possible name, as programs have it that count them in.
  [[nodiscard]] static unix_address of_padded_abstract_name(std::string_view name);

  // For bind and connect.
  [[nodiscard]] const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address_); }
  [[nodiscard]] socklen_t size() const { return size_; }

 private:
  unix_address(std::string_view text, std::size_t zeros_before, std::size_t zeros_after);

  sockaddr_un address_{};
  socklen_t size_;
};

}  // namespace host
