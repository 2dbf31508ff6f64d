// Lines of the PDC code go to the radio log.
#pragma once

#include "platform/android_log.h"

#define PDC_LOG(priority, ...) \
  __android_log_buf_print(LOG_ID_RADIO, priority, "PDC_UTIL", __VA_ARGS__)
#define PDC_LOG_INFO(...) PDC_LOG(ANDROID_LOG_INFO, __VA_ARGS__)
#define PDC_LOG_ERROR(...) PDC_LOG(ANDROID_LOG_ERROR, __VA_ARGS__)
