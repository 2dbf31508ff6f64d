#include "host/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace host {

void fill_standard_descriptors() {
  for (int each = STDIN_FILENO; each <= STDERR_FILENO; ++each) {
    if (::fcntl(each, F_GETFD) >= 0) continue;
    // Opened for the wrong direction, so that using the stream still fails. open() returns the
    // lowest free number. Not O_CLOEXEC: child processes need it as well.
    if (::open("/dev/null", each == STDIN_FILENO ? O_WRONLY : O_RDONLY) != each) return;
  }
}

}  // namespace host
