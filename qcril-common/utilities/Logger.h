// The process's logger. A factory, registered by name, creates the implementation on first use.
#pragma once

#include <cstdint>
#include <string>

namespace qti::ril::logger {

enum class LogLevel : std::uint8_t { DEBUG, INFO, WARN, ERROR };

class LoggerImpl {
 public:
  virtual ~LoggerImpl() = default;
  virtual void log(LogLevel level, const char* tag, const char* message) = 0;
};

class Logger {
 public:
  /// Messages are cut after 1023 bytes.
  static void log(LogLevel level, const char* tag, const char* fmt, ...)
      __attribute__((format(printf, 3, 4)));
};

/// The calling thread's name.
std::string qcril_get_thread_name();

}  // namespace qti::ril::logger
