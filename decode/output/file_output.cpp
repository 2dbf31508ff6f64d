#include "decode/output/file_output.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "decode/output/record_output.h"
#include "host/write_all.h"

namespace decode {

namespace {

bool (*give_up_now)() = nullptr;

[[noreturn]] void fail(std::string_view name) {
  throw output_error(fmt::format("{}: {}", name, std::generic_category().message(errno)));
}

bool is_regular(int file, struct stat& status) {
  return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

[[noreturn]] void refuse(std::string_view name) {
  throw output_error(fmt::format("{}: already an input or another output of this run", name));
}

}  // namespace

void give_up_interrupted_writes(bool (*now)()) {
  give_up_now = now;
}

void must_not_be_of(const file_set& files, const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0 && files.contains(status)) refuse(path);
}

void write_whole(int file, std::string_view name, std::string_view text) {
  if (host::write_all(file, text, give_up_now)) return;
  if (errno == EINTR || errno == EAGAIN) {
    throw output_error(fmt::format("{}: the reader has stalled; the rest is lost", name));
  }
  fail(name);
}

file_output::file_output(const std::string& path)
    : name_(path), file_(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666)) {
  if (!file_.valid()) fail(name_);
}

file_output::file_output(std::string name, host::file_descriptor file)
    : name_(std::move(name)), file_(std::move(file)), begun_(true) {}

void file_output::must_not_be_of(const file_set& files) const {
  struct stat status {};
  if (is_regular(file_.get(), status) && files.contains(status)) refuse(name_);
}

bool file_output::keeps_contents() const {
  struct stat status {};
  return !begun_ && is_regular(file_.get(), status);
}

void file_output::begin() {
  if (std::exchange(begun_, true)) return;
  struct stat status {};
  if (is_regular(file_.get(), status) && ::ftruncate(file_.get(), 0) != 0) fail(name_);
}

void file_output::write(std::string_view text) {
  if (text.empty()) return;
  begin();
  write_whole(file_.get(), name_, text);
}

}  // namespace decode
