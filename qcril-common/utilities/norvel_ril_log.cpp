#include "qcril-common/utilities/norvel_ril_log.h"

#include <syslog.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "qcril-common/utilities/quiet_notes.h"

namespace {

__attribute__((format(printf, 1, 0))) std::string format(const char* fmt, va_list args) {
  va_list again;
  va_copy(again, args);
  std::array<char, 256> usual{};  // lines are rarely longer
  const int length = std::vsnprintf(usual.data(), usual.size(), fmt, args);
  std::string text(usual.data());
  if (length >= static_cast<int>(usual.size())) {
    text.resize(static_cast<std::size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, fmt, again);
  }
  va_end(again);
  return text;
}

void write_line(norvel_log_site site, void (*system_log)(const char*, ...), bool is_printed,
                const std::string& message) {
  system_log("RIL[%s][%s:%d] %s: %s", "shell", site.source, site.line, site.function,
             message.c_str());
  if (is_printed) std::printf("RIL[%s:%d]: %s\n", site.function, site.line, message.c_str());
}

}  // namespace

void norvel_ril_syslog_err(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  ::vsyslog(LOG_ERR, fmt, args);
  va_end(args);
}

void norvel_ril_syslog_dbg(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  ::vsyslog(LOG_DEBUG, fmt, args);
  va_end(args);
}

void norvel_log(norvel_log_site site, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  write_line(site, norvel_ril_syslog_dbg, notes_are_on(), format(fmt, args));
  va_end(args);
}

void norvel_log_error(norvel_log_site site, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  write_line(site, norvel_ril_syslog_err, true, format(fmt, args));
  va_end(args);
}
