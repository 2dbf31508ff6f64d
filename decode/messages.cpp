#include "decode/messages.h"

#include <fmt/format.h>
#include <unistd.h>

namespace decode {

void tell_as_is(std::string_view text) {
  // One write, so that lines of several processes do not mix.
  if (::write(STDERR_FILENO, text.data(), text.size()) < 0) return;
}

void tell(std::string_view text) {
  tell_as_is(fmt::format("tvk-decode: {}\n", text));
}

}  // namespace decode
