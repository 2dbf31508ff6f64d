#include "simulator/ports/socket_path.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>

#include "host/directories.h"
#include "host/private_files.h"
#include "host/unix_address.h"
#include "simulator/failure.h"

namespace sim {
namespace {

constexpr mode_t owner_only = 0600;

host::unix_address address_of(const std::string& path) {
  const auto address = host::unix_address::of_path(path);
  if (!address) {
    throw failure(fmt::format("the socket path is too long ({} bytes, at most {}): {}", path.size(),
                              host::unix_address::longest_path, path));
  }
  return *address;
}

host::file_descriptor make_socket(int type, const std::string& path) {
  host::file_descriptor made(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!made.valid()) fail_to("make a socket for", path);
  return made;
}

std::optional<struct stat> status_of(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) == 0) return status;
  if (errno != ENOENT) fail_to("look at", path);
  return std::nullopt;
}

/// Checks the path and creates its directory. A runtime directory of another user would hand the
/// clients to that user.
std::string checked(std::string path) {
  (void)address_of(path);
  if (!host::make_directories(host::parent_of(path))) fail_to("make the directory of", path);
  if (const auto distrust = host::distrust_of_socket(path); !distrust.empty()) {
    throw failure(fmt::format("cannot listen on {}: {}", path, distrust));
  }
  return path;
}

}  // namespace

path_lock::path_lock(const std::string& path) : file_(path + ".lock") {
  while (true) {
    auto [opened, error] = host::open_lock(file_);
    if (!opened.valid()) throw failure(fmt::format("cannot use the lock {}: {}", file_, error));
    if (::flock(opened.get(), LOCK_EX | LOCK_NB) != 0) {
      if (errno != EWOULDBLOCK) fail_to("lock", file_);
      throw failure("another modem already listens on " + path);
    }
    // An owner that is just ending may have removed the file that was opened.
    struct stat locked {};
    const auto there = status_of(file_);
    if (there && ::fstat(opened.get(), &locked) == 0 && locked.st_ino == there->st_ino) {
      locked_ = std::move(opened);
      return;
    }
  }
}

path_lock::~path_lock() {
  ::unlink(file_.c_str());
}

socket_path::socket_path(std::string path, int socket_type)
    : path_(checked(std::move(path))), type_(socket_type), lock_(path_) {
  make_room();
  bind();
}

socket_path::~socket_path() {
  struct stat now {};
  // The path may have been removed by hand and taken by another program since.
  if (::lstat(path_.c_str(), &now) == 0 && now.st_ino == inode_) ::unlink(path_.c_str());
}

void socket_path::make_room() {
  const auto status = status_of(path_);
  if (!status) return;
  if (!S_ISSOCK(status->st_mode)) throw failure(path_ + " exists and is not a socket");

  const auto address = address_of(path_);
  const host::file_descriptor probe = make_socket(type_, path_);
  if (::connect(probe.get(), address.get(), address.size()) == 0 || errno != ECONNREFUSED) {
    throw failure("another program already listens on " + path_);
  }
  if (::unlink(path_.c_str()) != 0) fail_to("remove the stale socket", path_);
}

void socket_path::bind() {
  const auto address = address_of(path_);
  socket_ = make_socket(type_, path_);
  // The file in the directory gets the mode of the socket.
  if (::fchmod(socket_.get(), owner_only) != 0 ||
      ::bind(socket_.get(), address.get(), address.size()) != 0) {
    fail_to("bind", path_);
  }
  if (const auto status = status_of(path_)) inode_ = status->st_ino;
}

}  // namespace sim
