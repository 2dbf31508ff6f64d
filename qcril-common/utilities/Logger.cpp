#include "qcril-common/utilities/Logger.h"

#include <sys/prctl.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "platform/android_log.h"

namespace qti::ril::logger {
namespace {

android_LogPriority priority_of(LogLevel level) {
  switch (level) {
    case LogLevel::DEBUG:
      return ANDROID_LOG_DEBUG;
    case LogLevel::INFO:
      return ANDROID_LOG_INFO;
    case LogLevel::WARN:
      return ANDROID_LOG_WARN;
    case LogLevel::ERROR:
      break;
  }
  return ANDROID_LOG_ERROR;
}

/// Despite its name this writes to the radio log buffer: a command's standard output is compared to
/// the letter, so log lines must not appear there.
class StdoutLogger final : public LoggerImpl {
 public:
  void log(LogLevel level, const char* tag, const char* message) override {
    __android_log_buf_print(LOG_ID_RADIO, priority_of(level), tag, "%s", message);
  }
};

struct logger_factory {
  std::string_view name;
  LoggerImpl* (*make)();
};

constexpr logger_factory factories[] = {
    {"StdoutLogger", []() -> LoggerImpl* { return new StdoutLogger; }},
};

/// Never destroyed: library threads may log while the process ends.
LoggerImpl& implementation() {
  static LoggerImpl& process_logger =
      *std::ranges::find(factories, "StdoutLogger", &logger_factory::name)->make();
  return process_logger;
}

}  // namespace

void Logger::log(LogLevel level, const char* tag, const char* fmt, ...) {
  std::array<char, 1024> message{};
  va_list args;
  va_start(args, fmt);
  std::vsnprintf(message.data(), message.size(), fmt, args);
  va_end(args);
  implementation().log(level, tag, message.data());
}

std::string qcril_get_thread_name() {
  std::array<char, 16> name{};
  ::prctl(PR_GET_NAME, name.data());
  return name.data();
}

}  // namespace qti::ril::logger
