#include "platform/linux/report.h"

#include <unistd.h>

#include <set>

#include "platform/mutex.h"

namespace platform {
namespace {

struct said {
  mutex lock;
  std::set<std::string> texts TVK_GUARDED_BY(lock);
};

// Never destroyed: library threads may report while the process ends.
said& already_said() {
  static said& all = *new said;
  return all;
}

}  // namespace

void report_once(const std::string& text) {
  said& all = already_said();
  {
    const mutex_lock hold(all.lock);
    if (!all.texts.insert(text).second) return;
  }
  const std::string line = "tvk: " + text + "\n";
  // One write, so that lines of several processes do not mix. Nobody could be told of a failure.
  if (::write(STDERR_FILENO, line.data(), line.size()) < 0) return;
}

}  // namespace platform
