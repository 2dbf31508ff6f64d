// Endpoint names, as users write them in TVK_MODEM and TVK_DIAG.
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

/// What a variable of the environment names; unset, the socket of this name in the runtime
/// directory, as unix:PATH.
[[nodiscard]] std::string chosen_endpoint(const char* variable, std::string_view socket);

}  // namespace host
