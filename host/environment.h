// Reads environment variables.
#pragma once

#include <string>

namespace host {

/// The value of an environment variable; empty when it is unset.
[[nodiscard]] std::string environment(const char* name);

}  // namespace host
