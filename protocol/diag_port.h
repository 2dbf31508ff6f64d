// What a modem's DIAG port goes by on a host.
#pragma once

#include <string>

namespace protocol::diag {

/// The variable of the environment that names it to clients.
inline constexpr const char* port_variable = "TVK_DIAG";
/// The socket in the runtime directory that it is without the variable.
inline constexpr const char* port_socket = "diag.sock";

/// What to tell the user of a port that cannot be opened. `forms` are those that its name can have.
inline std::string unusable_port(const std::string& name, const std::string& why,
                                 const std::string& forms) {
  return "DIAG port " + name + ": " + why + "; expected one of a modem, as " + port_variable + "=" +
         forms;
}

}  // namespace protocol::diag
