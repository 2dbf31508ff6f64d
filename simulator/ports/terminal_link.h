// A pseudo-terminal that clients find through a symbolic link. PATH.lock is held as for a socket,
// so a link whose lock is free was left by a killed modem.
#pragma once

#include <string>

#include "host/file_descriptor.h"
#include "simulator/ports/socket_path.h"

namespace sim {

/// The modem's side of a new pseudo-terminal. The clients' side is raw, so that answers are not
/// echoed back as requests. Throws `failure`.
[[nodiscard]] host::file_descriptor open_pseudo_terminal();
/// The name of the clients' side.
[[nodiscard]] std::string terminal_of(int ours);

/// The link from a chosen path to the terminal.
class terminal_link {
 public:
  /// Throws `failure`, and has then changed nothing but leftovers of a killed modem.
  terminal_link(const std::string& path, std::string terminal);
  terminal_link(const terminal_link&) = delete;
  terminal_link& operator=(const terminal_link&) = delete;
  /// Removes the link.
  ~terminal_link();

  /// Replaces the link's target atomically. Throws `failure`, and then the link is unchanged.
  void lead_to(const std::string& terminal);

 private:
  std::string path_;
  std::string terminal_;
  bool lock_was_there_;
  path_lock lock_;
};

}  // namespace sim
