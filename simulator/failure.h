// The two ways in which a command of tvk-modem ends early. Each carries the one line that the user
// reads, without the program's name.
#pragma once

#include <stdexcept>

namespace sim {

/// The command line asks for something that cannot be: exit status 2.
struct usage_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// What was asked for failed: exit status 1.
struct failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace sim
