#include "qcril-common/utilities/orvax_memory.h"

#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <map>

#include "platform/android_log.h"
#include "platform/mutex.h"
#include "platform/properties.h"
#include "qcril-common/utilities/orvax_log.h"

namespace {

/// When and from where a block was allocated.
struct trace_record {
  void* block;
  std::tm local_time;
  int process;
};
static_assert(sizeof(void*) != 8 || sizeof(trace_record) == 72);

bool is_trace_wanted() {
  std::array<char, PROPERTY_VALUE_MAX> value{};
  if (property_get("persist.orvax.mem_trace", value.data(), "") == 0) {
    ORVAX_LOG(ANDROID_LOG_DEBUG, "orvax_mem_init", "ORVAX_MEM_TRACE_PROP not exist");
    return false;
  }
  return std::atoi(value.data()) != 0;
}

struct memory_trace {
  const bool is_on = is_trace_wanted();
  platform::mutex lock;
  std::map<void*, trace_record> blocks TVK_GUARDED_BY(lock);
};

// Never destroyed: statistics records may be freed after static destruction.
memory_trace& trace() {
  static memory_trace& process = *new memory_trace;
  return process;
}

trace_record record_now(void* block) {
  timeval now{};
  ::gettimeofday(&now, nullptr);
  trace_record record{.block = block, .local_time = {}, .process = ::getpid()};
  ::localtime_r(&now.tv_sec, &record.local_time);
  return record;
}

}  // namespace

void* orvax_malloc_adv(std::size_t size, ...) {
  memory_trace& process = trace();
  void* block = std::malloc(size);
  if (block == nullptr) {
    ORVAX_LOG(ANDROID_LOG_ERROR, "orvax_malloc_adv", "Fail to allocate memory");
    return nullptr;
  }
  if (process.is_on) {
    const platform::mutex_lock hold(process.lock);
    process.blocks.emplace(block, record_now(block));
  }
  return block;
}

void orvax_free_adv(void* p, ...) {
  memory_trace& process = trace();
  if (process.is_on) {
    const platform::mutex_lock hold(process.lock);
    process.blocks.erase(p);
    std::free(p);
    return;
  }
  std::free(p);
}

std::size_t orvax_mem_traced_blocks() {
  memory_trace& process = trace();
  const platform::mutex_lock hold(process.lock);
  return process.blocks.size();
}
