// The summary for people, as text, and for programs, as one JSON object.
#pragma once

#include <string>

#include "decode/summary/summary.h"

namespace decode {

/// `seconds`: how long the run took; 0 leaves the rate out.
[[nodiscard]] std::string to_text(const summary& all, double seconds);
[[nodiscard]] std::string to_json(const summary& all, double seconds);

}  // namespace decode
