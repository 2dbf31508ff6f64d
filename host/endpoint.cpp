#include "host/endpoint.h"

namespace host {

endpoint_text split_endpoint(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos) return {text, {}};
  return {text.substr(0, colon), text.substr(colon + 1)};
}

}  // namespace host
