#include "host/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace host {

void fill_standard_descriptors() {
  for (int each = STDIN_FILENO; each <= STDERR_FILENO; ++each) {
    if (::fcntl(each, F_GETFD) >= 0) continue;
    // Open the wrong way round. It is the lowest number that is free; the programs that are started
    // from here have it as well.
    if (::open("/dev/null", each == STDIN_FILENO ? O_WRONLY : O_RDONLY) != each) return;
  }
}

}  // namespace host
