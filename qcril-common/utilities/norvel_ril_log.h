// Every diagnostic line is reported twice with the same message:
//   system log       "RIL[shell][SOURCE:LINE] FUNCTION: message"
//   standard output  "RIL[FUNCTION:LINE]: message", unless quiet
// SOURCE names the unit, which may be several files: each defines `log_source` for the macros.
#pragma once

void norvel_ril_syslog_err(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
void norvel_ril_syslog_dbg(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

struct norvel_log_site {
  const char* source;
  const char* function;
  int line;
};

void norvel_log(norvel_log_site site, const char* fmt, ...) __attribute__((format(printf, 2, 3)));

/// Logs the entry of a function now and its exit on every way out.
class norvel_log_scope {
 public:
  explicit norvel_log_scope(norvel_log_site site);
  ~norvel_log_scope();
  norvel_log_scope(const norvel_log_scope&) = delete;
  norvel_log_scope& operator=(const norvel_log_scope&) = delete;

 private:
  norvel_log_site site_;
};

#define NORVEL_LOG_SITE            \
  norvel_log_site {                \
    log_source, __func__, __LINE__ \
  }
#define NORVEL_LOG(...) norvel_log(NORVEL_LOG_SITE, __VA_ARGS__)
#define NORVEL_LOG_SCOPE() const norvel_log_scope log_scope(NORVEL_LOG_SITE)
