#include "decode/messages.h"

#include <unistd.h>

#include "host/messages.h"

namespace decode {
namespace {

constexpr std::string_view program = "tvk-decode";

}  // namespace

void report(std::string_view text) {
  host::report(program, text);
}

void report_once(const std::string& text) {
  host::report_once(program, text);
}

void report_verbatim(std::string_view text) {
  if (::write(STDERR_FILENO, text.data(), text.size()) < 0) return;
}

}  // namespace decode
