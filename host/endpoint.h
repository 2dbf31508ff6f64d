// Endpoint names: how a user specifies where another program is found.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// `scheme:rest`, split at the first colon; text without a colon is all scheme.
struct endpoint_text {
  std::string_view scheme;
  std::string_view rest;
};
[[nodiscard]] endpoint_text split_endpoint(std::string_view text);

/// The endpoint in an environment variable; if unset, unix:PATH of the socket with this name in the
/// runtime directory.
[[nodiscard]] std::string chosen_endpoint(const char* variable, std::string_view socket);

}  // namespace host
