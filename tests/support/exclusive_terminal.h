// Whether a client has a terminal for itself alone (TIOCEXCL). An open does not show it to the
// superuser.
#pragma once

#include <asm/ioctls.h>
#include <sys/ioctl.h>

namespace support {

/// False also where the request is unknown, as under qemu-user.
inline bool is_exclusive(int terminal) {
  int exclusive = 0;
  return ::ioctl(terminal, TIOCGEXCL, &exclusive) == 0 && exclusive != 0;
}

}  // namespace support
