// Every diagnostic line is reported twice with the same message:
//   system log       "RIL[shell][SOURCE:LINE] FUNCTION: message"
//   standard output  "RIL[FUNCTION:LINE]: message", unless quiet
//
// LINE is the statement's line. SOURCE is the unit, one of the few names that readers of the log
// know: a unit comprises the files whose names begin with it (norvel_diag_send_response.cpp belongs
// to norvel_diag_send), and no other file can log. FUNCTION is the enclosing function, or the name
// by which readers know the line (the _AS macros). All lines with one FUNCTION are in one file, so
// that the three parts together identify the statement.
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

/// The same at error level; printed on standard output even when quiet.
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
  throw "the name of a file that logs must begin with the name of its unit";
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
