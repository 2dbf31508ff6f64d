// What was asked for goes to standard output: that it could not be written is a failure.
#pragma once

#include <string_view>

namespace sim {

/// Throws `failure`, at the latest from `finish_output`.
void write_output(std::string_view text);
/// To be called when all is written.
void finish_output();

}  // namespace sim
