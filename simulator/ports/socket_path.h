// The path of a Unix socket in the file system. The holder of the lock PATH.lock owns the path. A
// modem holds the lock for as long as it runs, so a socket that has no listener and whose lock is
// free was left by a killed modem.
#pragma once

#include <sys/types.h>

#include <string>

#include "host/file_descriptor.h"

namespace sim {

/// Holds the lock of a path; throws `failure` if another process holds it.
class path_lock {
 public:
  explicit path_lock(const std::string& path);
  path_lock(const path_lock&) = delete;
  path_lock& operator=(const path_lock&) = delete;
  /// Removes the lock's file while it is still locked.
  ~path_lock();

 private:
  std::string file_;
  host::file_descriptor locked_;
};

class socket_path {
 public:
  /// Takes the path and binds a socket to it, with mode 0600, that does not listen yet. Creates the
  /// directory if it is missing. Throws `failure`, and has then changed nothing but leftovers of a
  /// killed modem.
  socket_path(std::string path, int socket_type);
  socket_path(const socket_path&) = delete;
  socket_path& operator=(const socket_path&) = delete;
  /// Removes the socket.
  ~socket_path();

  [[nodiscard]] host::file_descriptor take_socket() { return std::move(socket_); }

 private:
  void make_room();
  void bind();

  std::string path_;
  int type_;
  path_lock lock_;
  host::file_descriptor socket_;
  ino_t inode_ = 0;
};

}  // namespace sim
