#include "decode/messages.h"

#include <fmt/format.h>
#include <unistd.h>

namespace decode {

void report_verbatim(std::string_view text) {
  // One write, so that lines of several processes do not mix.
  if (::write(STDERR_FILENO, text.data(), text.size()) < 0) return;
}

void report(std::string_view text) {
  report_verbatim(fmt::format("tvk-decode: {}\n", text));
}

}  // namespace decode
