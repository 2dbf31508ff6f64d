#pragma once

#include <string>

namespace host {

/// What a variable of the environment says; empty when it says nothing or is not set.
[[nodiscard]] std::string environment(const char* name);

}  // namespace host
