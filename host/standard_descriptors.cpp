#include "host/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

namespace host {

void keep_standard_descriptors() {
  for (const int each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(each, F_GETFD) >= 0) continue;
    // Those below are open: this takes the free number. The wrong way round, so that it fails.
    const int opened = ::open("/dev/null", each == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    static_cast<void>(opened);
  }
}

}  // namespace host
