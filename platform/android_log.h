// The Android log.
#pragma once

enum android_LogPriority {
  ANDROID_LOG_DEBUG = 3,
  ANDROID_LOG_INFO = 4,
  ANDROID_LOG_WARN = 5,
  ANDROID_LOG_ERROR = 6,
};

enum log_id {
  LOG_ID_MAIN = 0,
  LOG_ID_RADIO = 1,
};

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the platform's names.
int __android_log_print(int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
int __android_log_buf_print(int buf_id, int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));
// NOLINTEND(bugprone-reserved-identifier)
}
