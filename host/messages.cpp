#include "host/messages.h"

#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <mutex>
#include <set>

namespace host {
namespace {

struct said {
  std::mutex lock;
  std::set<std::string> texts;
};

// Never destroyed: threads may tell something while the process ends.
said& already_said() {
  static said& all = *new said;
  return all;
}

iovec part(std::string_view text) {
  // writev only reads.
  return {const_cast<char*>(text.data()), text.size()};
}

}  // namespace

void tell(std::string_view program, std::string_view text) noexcept {
  const std::array<iovec, 4> line{part(program), part(": "), part(text), part("\n")};
  // One call, so that lines of several processes do not mix.
  if (::writev(STDERR_FILENO, line.data(), line.size()) < 0) return;
}

void tell_once(std::string_view program, const std::string& text) {
  said& all = already_said();
  {
    const std::lock_guard hold(all.lock);
    if (!all.texts.insert(text).second) return;
  }
  tell(program, text);
}

}  // namespace host
