// The Android log on a Linux host: the system log, or the destination TVK_ANDROID_LOG names.
#include "platform/android_log.h"

#include <fcntl.h>
#include <syslog.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "host/environment.h"
#include "host/file_descriptor.h"
#include "platform/linux/report.h"

namespace {

using host::file_descriptor;

/// Where lines go: a descriptor, or invalid for the system log.
file_descriptor open_destination() {
  const auto name = host::environment("TVK_ANDROID_LOG");
  if (name.empty()) return {};
  if (name == "stderr") return file_descriptor(::dup(STDERR_FILENO));
  file_descriptor file(::open(name.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
  if (!file.valid()) {
    platform::report_once("TVK_ANDROID_LOG=" + name + ": " + std::strerror(errno) +
                          "; expected \"stderr\" or a file to append to");
  }
  return file;
}

const file_descriptor& destination() {
  // Never destroyed: library threads may log while the process ends.
  static const file_descriptor& opened = *new file_descriptor(open_destination());
  return opened;
}

struct priority {
  int syslog;
  char letter;
};

priority priority_of(int android) {
  switch (android) {
    case ANDROID_LOG_INFO:
      return {LOG_INFO, 'I'};
    case ANDROID_LOG_WARN:
      return {LOG_WARNING, 'W'};
    case ANDROID_LOG_ERROR:
      return {LOG_ERR, 'E'};
    default:
      return {LOG_DEBUG, 'D'};
  }
}

__attribute__((format(printf, 3, 0))) int write_line(int android_priority, const char* tag,
                                                     const char* fmt, va_list args) {
  std::array<char, 1024> text{};  // as much as the phone's log keeps of one line
  std::vsnprintf(text.data(), text.size(), fmt, args);
  const priority level = priority_of(android_priority);
  if (!destination().valid()) {
    ::syslog(level.syslog, "%s: %s", tag, text.data());
    return 1;
  }
  const std::string line = std::string(1, level.letter) + "/" + tag + ": " + text.data() + "\n";
  return ::write(destination().get(), line.data(), line.size()) < 0 ? -errno : 1;
}

}  // namespace

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = write_line(prio, tag, fmt, args);
  va_end(args);
  return result;
}

int __android_log_buf_print(int /*buf_id*/, int prio, const char* tag, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int result = write_line(prio, tag, fmt, args);
  va_end(args);
  return result;
}
