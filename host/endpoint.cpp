#include "host/endpoint.h"

#include "host/directories.h"
#include "host/environment.h"

namespace host {

endpoint_text split_endpoint(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos) return {text, {}};
  return {text.substr(0, colon), text.substr(colon + 1)};
}

std::string chosen_endpoint(const char* variable, std::string_view socket) {
  auto chosen = environment(variable);
  if (chosen.empty()) chosen.append("unix:").append(runtime_directory()).append("/").append(socket);
  return chosen;
}

}  // namespace host
