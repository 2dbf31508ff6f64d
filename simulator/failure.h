// The two ways in which a command of tvk-modem ends early. Each carries the one line that the user
// reads, without the program's name.
#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

namespace sim {

/// The command line asks for something that cannot be: exit status 2.
struct usage_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// What was asked for failed: exit status 1.
struct failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A call of the system has failed, for the reason in errno.
[[noreturn]] inline void fail_to(std::string_view act, std::string_view on) {
  const char* const reason = std::strerror(errno);
  throw failure(std::string("cannot ").append(act).append(" ").append(on) + ": " + reason);
}

}  // namespace sim
