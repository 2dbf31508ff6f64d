#include <thread>

#include "norvel_extend_qmi/norvel_diag_wait.h"

void norvel_diag::sleep_for(std::chrono::milliseconds time) {
  std::this_thread::sleep_for(time);
}
