#include "decode/output/new_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "decode/output/record_output.h"

namespace decode {

namespace {

[[noreturn]] void fail(const std::string& path) {
  throw output_error(fmt::format("{}: {}", path, std::generic_category().message(errno)));
}

std::string unfinished_name(const std::string& path) {
  return path + ".unfinished";
}

}  // namespace

void new_file::remove_leftover(const std::string& path) {
  const auto leftover = unfinished_name(path);
  if (::unlink(leftover.c_str()) != 0 && errno != ENOENT) fail(leftover);
}

new_file::new_file(std::string path) : path_(std::move(path)), unfinished_(unfinished_name(path_)) {
  // It may also be somebody's link, and is not to be written through.
  remove_leftover(path_);
  file_.emplace(unfinished_);
  struct stat status {};
  if (::fstat(file_->descriptor(), &status) != 0) fail(unfinished_);
  device_ = status.st_dev;
  inode_ = status.st_ino;
}

new_file::~new_file() {
  if (is_still_there()) ::unlink(unfinished_.c_str());
}

bool new_file::is_still_there() const {
  struct stat status {};
  return ::lstat(unfinished_.c_str(), &status) == 0 && status.st_dev == device_ &&
         status.st_ino == inode_;
}

void new_file::write(std::string_view text) {
  if (!file_) {
    host::file_descriptor again(::open(unfinished_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    if (!again.valid()) fail(unfinished_);
    file_.emplace(unfinished_, std::move(again));
  }
  file_->write(text);
}

void new_file::finish() {
  close();
  if (!is_still_there()) {
    throw output_error(fmt::format("{}: another run writes it at the same time", path_));
  }
  if (::rename(unfinished_.c_str(), path_.c_str()) != 0) fail(path_);
}

}  // namespace decode
