#include "qcril-common/utilities/pause.h"

#include <thread>

void pause_for(std::chrono::milliseconds time) {
  std::this_thread::sleep_for(time);
}
