// Log lines of the statistics code.
#pragma once

#include <cstddef>

#include "platform/android_log.h"

constexpr std::size_t orvax_log_buf_size = 102;
constexpr std::size_t orvax_log_msg_size = 512;

/// vsnprintf into `buf`, which has room for orvax_log_buf_size bytes.
int orvax_log_buf(char* buf, const char* fmt, ...) __attribute__((format(printf, 2, 3)));

/// vsnprintf into `buf`, which has room for orvax_log_msg_size bytes.
void orvax_log_format_log_msg(char* buf, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));

/// Logs "FUNCTION: message" under the tag "ORVAX" at an Android priority.
#define ORVAX_LOG(priority, function, fmt, ...)                                                \
  do {                                                                                         \
    char orvax_log_text[orvax_log_msg_size];                                                   \
    orvax_log_format_log_msg(orvax_log_text, "%s: " fmt, function __VA_OPT__(, ) __VA_ARGS__); \
    __android_log_print(priority, "ORVAX", "%s", orvax_log_text);                              \
  } while (false)
