#include "norvel_extend_qmi/norvel_diag_sleep.h"

#include <thread>

void norvel_diag::sleep_for(std::chrono::milliseconds time) {
  std::this_thread::sleep_for(time);
}
