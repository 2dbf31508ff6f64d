#include "qcril-common/utilities/retry.h"

#include <cstdio>

#include "qcril-common/utilities/pause.h"

void pause_before_retry(int tried, int pauses, std::chrono::seconds pause) {
  if (tried == 0) {
    std::fprintf(stderr, "tvk: trying again for up to %d s\n",
                 static_cast<int>(pauses * pause.count()));
  }
  pause_for(pause);
}
