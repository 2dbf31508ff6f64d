#include "host/write_all.h"

#include <unistd.h>

#include <cerrno>

namespace host {

bool write_all(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t put = ::write(file, text.data(), text.size());
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(put));
  }
  return true;
}

}  // namespace host
