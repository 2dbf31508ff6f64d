// Every diagnostic line is reported twice with the same message:
//   system log       "RIL[shell][SOURCE:LINE] FUNCTION: message"
//   standard output  "RIL[FUNCTION:LINE]: message", unless quiet
//
// LINE is where the statement stands. SOURCE is the unit, one of the few names that readers of the
// log know; a unit is the files whose names begin with it, as norvel_diag_send_response.cpp is of
// norvel_diag_send, and a file with another name cannot log. FUNCTION is the real one, or the one
// whose name the line is known by (the _AS macros); all lines under one name stand in one file, so
// that a line is found from its three parts.
#pragma once

#include <array>
#include <string_view>

void norvel_ril_syslog_err(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
void norvel_ril_syslog_dbg(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

struct norvel_log_site {
  const char* source;
  const char* function;
  int line;
};

void norvel_log(norvel_log_site site, const char* fmt, ...) __attribute__((format(printf, 2, 3)));

/// The same at error level; standard output has it even when quiet.
void norvel_log_error(norvel_log_site site, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));

/// The unit of a source file.
consteval const char* norvel_log_source(std::string_view path) {
  constexpr std::array units = {"norvel_qmi_test_cmn", "norvel_test_mbn", "norvel_extend_cmn",
                                "norvel_extend_nvefs", "norvel_diag_send"};
  const auto name = path.substr(path.rfind('/') + 1);
  for (const std::string_view unit : units) {
    if (!name.starts_with(unit)) continue;
    const char next = name.substr(unit.size()).front();
    if (next == '_' || next == '.') return unit.data();
  }
  throw "a file that logs has a name that begins with its unit's";
}

#define NORVEL_LOG_SITE(function)                   \
  norvel_log_site {                                 \
    norvel_log_source(__FILE__), function, __LINE__ \
  }
#define NORVEL_LOG_AS(function, ...) norvel_log(NORVEL_LOG_SITE(function), __VA_ARGS__)
#define NORVEL_LOG(...) NORVEL_LOG_AS(__func__, __VA_ARGS__)
#define NORVEL_LOG_ERROR(...) norvel_log_error(NORVEL_LOG_SITE(__func__), __VA_ARGS__)

#define NORVEL_LOG_ENTRY_AS(function) NORVEL_LOG_AS(function, "function entry ------------->")
#define NORVEL_LOG_EXIT_AS(function) NORVEL_LOG_AS(function, "function exit <-------------")
#define NORVEL_LOG_ENTRY() NORVEL_LOG_ENTRY_AS(__func__)
#define NORVEL_LOG_EXIT() NORVEL_LOG_EXIT_AS(__func__)
