#include "host/private_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "host/directories.h"

namespace host {
namespace {

constexpr mode_t owner_only = 0600;
constexpr mode_t writable_by_others = S_IWGRP | S_IWOTH;

std::string error_text(int error) {
  // With O_NOFOLLOW, ELOOP means a link rather than a cycle of links.
  return error == ELOOP ? "it is a symbolic link" : std::strerror(error);
}

std::string mode_text(mode_t mode) {
  std::array<char, 8> digits{};
  std::snprintf(digits.data(), digits.size(), "%04o", mode & 07777U);
  return digits.data();
}

std::string distrust_of_owner(const struct stat& status) {
  if (status.st_uid == ::geteuid()) return {};
  return "it belongs to user " + std::to_string(status.st_uid) + ", not to user " +
         std::to_string(::geteuid());
}

std::string distrust_of_file(const struct stat& status) {
  if (S_ISLNK(status.st_mode)) return "it is a symbolic link";
  if (!S_ISREG(status.st_mode)) return "it is not a regular file";
  if (status.st_nlink > 1) return "it has other names (hard links)";
  return distrust_of_owner(status);
}

}  // namespace

std::string distrust_of_directory(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return std::strerror(errno);
  if (S_ISLNK(status.st_mode)) return "it is a symbolic link";
  if (!S_ISDIR(status.st_mode)) return "it is not a directory";
  if (auto distrust = distrust_of_owner(status); !distrust.empty()) return distrust;
  if ((status.st_mode & writable_by_others) == 0) return {};
  return "other users can write to it (mode " + mode_text(status.st_mode) + ")";
}

std::string distrust_of_socket(const std::string& path) {
  const std::string directory = parent_of(path);
  struct stat status {};
  // A missing directory is not a matter of trust: connecting then fails in any case.
  if (directory != runtime_directory() || ::lstat(directory.c_str(), &status) != 0) return {};
  const std::string distrust = distrust_of_directory(directory);
  return distrust.empty() ? distrust : directory + " is not trusted: " + distrust;
}

opened_file open_lock(const std::string& path) {
  // O_NONBLOCK, so that a FIFO planted there cannot block us.
  file_descriptor file(
      ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, owner_only));
  struct stat status {};
  if (!file.valid() || ::fstat(file.get(), &status) != 0) return {{}, error_text(errno)};
  if (auto distrust = distrust_of_file(status); !distrust.empty()) return {{}, std::move(distrust)};
  if (::fchmod(file.get(), owner_only) != 0) return {{}, error_text(errno)};
  return {std::move(file), {}};
}

opened_file make_new_file(const std::string& path) {
  file_descriptor file(
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, owner_only));
  if (!file.valid() || ::fchmod(file.get(), owner_only) != 0) return {{}, error_text(errno)};
  return {std::move(file), {}};
}

std::string make_private_file(const std::string& path) {
  if (::mknod(path.c_str(), S_IFREG | owner_only, 0) != 0 && errno != EEXIST) {
    return error_text(errno);
  }
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return error_text(errno);
  if (auto distrust = distrust_of_file(status); !distrust.empty()) return distrust;
  return ::chmod(path.c_str(), owner_only) == 0 ? std::string() : error_text(errno);
}

}  // namespace host
