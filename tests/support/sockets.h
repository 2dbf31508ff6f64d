// Unix sockets and terminals of raw system calls.
#pragma once

#include <asm/ioctls.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <string>

#include "support/bytes.h"

namespace support {

inline sockaddr_un address_of(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  return address;
}

/// A socket of this type that `attach` (connect or bind) has given the path.
template <typename Attach>
int socket_at(const std::string& path, int type, Attach attach) {
  const int made = ::socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
  const sockaddr_un address = address_of(path);
  if (attach(made, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    ::close(made);
    throw std::runtime_error("socket at " + path);
  }
  return made;
}

inline int connected(const std::string& path, int type) {
  return socket_at(path, type, ::connect);
}
inline int listening_at(const std::string& path, int type) {
  const int made = socket_at(path, type, ::bind);
  if (::listen(made, 64) != 0) throw std::runtime_error("listen");
  return made;
}

inline int terminal_at(const std::string& path) {
  return ::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
}

/// Whether a client has a terminal for itself alone, which an open does not show to the superuser.
/// False also where the request is unknown, as under qemu-user.
inline bool is_exclusive(int terminal) {
  int exclusive = 0;
  return ::ioctl(terminal, TIOCGEXCL, &exclusive) == 0 && exclusive != 0;
}

class open_socket {
 public:
  explicit open_socket(int descriptor) : descriptor_(descriptor) {}
  open_socket(const open_socket&) = delete;
  open_socket& operator=(const open_socket&) = delete;
  ~open_socket() { ::close(descriptor_); }

  [[nodiscard]] int descriptor() const { return descriptor_; }
  [[nodiscard]] bool readable(std::chrono::milliseconds limit = std::chrono::seconds(30)) const {
    pollfd one{descriptor_, POLLIN, 0};
    return ::poll(&one, 1, static_cast<int>(limit.count())) == 1;
  }
  /// What comes next, nothing when the far end has closed. Throws when nothing comes.
  [[nodiscard]] bytes receive(std::chrono::milliseconds limit = std::chrono::seconds(30)) const {
    if (!readable(limit)) throw std::runtime_error("nothing received");
    bytes some(100'000);
    const ssize_t size = ::read(descriptor_, some.data(), some.size());
    some.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return some;
  }
  /// To a stream socket or a terminal.
  void write(const bytes& some) const {
    if (::write(descriptor_, some.data(), some.size()) != static_cast<ssize_t>(some.size())) {
      throw std::runtime_error("write");
    }
  }

 protected:
  int descriptor_;
};

}  // namespace support
