// A pseudo-terminal that clients find through a symbolic link. PATH.lock is held as for a socket,
// so a link whose lock is free was a killed modem's.
#pragma once

#include <string>

#include "host/file_descriptor.h"
#include "simulator/ports/socket_path.h"

namespace sim {

/// The modem's side of a new pseudo-terminal. Throws `failure`.
[[nodiscard]] host::file_descriptor open_pseudo_terminal();
[[nodiscard]] std::string terminal_of(int ours);
/// The clients' side, raw, so that nobody's answers come back as requests. Throws `failure`.
[[nodiscard]] host::file_descriptor open_terminal(const std::string& name);

/// The link from a chosen path to the terminal.
class terminal_link {
 public:
  /// Throws `failure`, and has then changed nothing that is not a dead modem's.
  terminal_link(const std::string& path, std::string terminal);
  terminal_link(const terminal_link&) = delete;
  terminal_link& operator=(const terminal_link&) = delete;
  /// Removes the link.
  ~terminal_link();

 private:
  std::string path_;
  std::string terminal_;
  bool lock_was_there_;
  path_lock lock_;
};

}  // namespace sim
