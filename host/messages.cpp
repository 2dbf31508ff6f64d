#include "host/messages.h"

#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <mutex>
#include <set>

namespace host {
namespace {

struct reported_texts {
  std::mutex lock;
  std::set<std::string> texts;
};

// Never destroyed: threads may still report something while the process ends.
reported_texts& already_reported() {
  static reported_texts& all = *new reported_texts;
  return all;
}

iovec part(std::string_view text) {
  // writev does not write to it.
  return {const_cast<char*>(text.data()), text.size()};
}

}  // namespace

void report(std::string_view program, std::string_view text) noexcept {
  const std::array<iovec, 4> line{part(program), part(": "), part(text), part("\n")};
  // One call, so that lines of several processes do not mix.
  if (::writev(STDERR_FILENO, line.data(), line.size()) < 0) return;
}

void report_once(std::string_view program, const std::string& text) {
  reported_texts& all = already_reported();
  {
    const std::lock_guard hold(all.lock);
    if (!all.texts.insert(text).second) return;
  }
  report(program, text);
}

}  // namespace host
