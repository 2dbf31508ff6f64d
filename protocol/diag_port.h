// The names of a modem's DIAG port on a host.
#pragma once

#include <string>

namespace protocol::diag {

/// The environment variable from which clients learn its name.
inline constexpr const char* port_variable = "TVK_DIAG";
/// The default: the name of a socket in the runtime directory.
inline constexpr const char* port_socket = "diag.sock";

/// The message to the user for a port that cannot be opened. `forms`: the accepted forms of names.
inline std::string unusable_port(const std::string& name, const std::string& why,
                                 const std::string& forms) {
  return "DIAG port " + name + ": " + why + "; expected one of a modem, as " + port_variable + "=" +
         forms;
}

}  // namespace protocol::diag
