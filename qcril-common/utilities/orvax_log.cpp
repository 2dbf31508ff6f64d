#include "qcril-common/utilities/orvax_log.h"

#include <cstdarg>
#include <cstdio>

int orvax_log_buf(char* buf, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int length = std::vsnprintf(buf, orvax_log_buf_size, fmt, args);
  va_end(args);
  return length;
}

void orvax_log_format_log_msg(char* buf, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  std::vsnprintf(buf, orvax_log_msg_size, fmt, args);
  va_end(args);
}
