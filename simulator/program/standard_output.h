// What the user asked for goes to standard output; failing to write it is a failure.
#pragma once

#include <string_view>

namespace sim {

/// Throws `failure`, at the latest in `finish_output`.
void write_output(std::string_view text);
/// To be called once everything is written.
void finish_output();

}  // namespace sim
