// The place of a Unix socket in the file system. Whoever holds the lock PATH.lock owns the place;
// a modem holds it for as long as it lives, so a socket whose lock is free and that nobody listens
// on is what a killed modem left behind.
#pragma once

#include <sys/types.h>

#include <string>

#include "host/file_descriptor.h"

namespace sim {

/// Holds the lock of a path; throws `failure` when another holds it.
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
  /// Takes the place and binds a socket to it, mode 0600, that does not listen yet. Makes the
  /// directory where it is missing. Throws `failure`, and has then changed nothing that is not
  /// a dead modem's.
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
