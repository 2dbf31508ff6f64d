#include "platform/linux/report.h"

#include <unistd.h>

#include <set>

#include "platform/mutex.h"

namespace platform {
namespace {

struct reported_texts {
  mutex lock;
  std::set<std::string> texts TVK_GUARDED_BY(lock);
};

// Never destroyed: library threads may report while the process ends.
reported_texts& already_reported() {
  static reported_texts& all = *new reported_texts;
  return all;
}

}  // namespace

void report_once(const std::string& text) {
  reported_texts& all = already_reported();
  {
    const mutex_lock hold(all.lock);
    if (!all.texts.insert(text).second) return;
  }
  const std::string line = "tvk: " + text + "\n";
  // One write, so that lines of several processes do not mix. A failure has nowhere to be reported.
  if (::write(STDERR_FILENO, line.data(), line.size()) < 0) return;
}

}  // namespace platform
