#include "qcril-common/utilities/qcril_memory_management.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>

#include "qcril-common/utilities/Logger.h"

void* qcril_malloc_adv(std::size_t size, const char* func, int line) {
  void* block = std::calloc(1, size);
  if (block == nullptr) {
    using qti::ril::logger::Logger;
    using qti::ril::logger::LogLevel;
    Logger::log(LogLevel::ERROR, "util", "[%s: %d] [%s(%ld,%ld)] %s: Fail to allocate memory",
                "qcril_memory_management", line, qti::ril::logger::qcril_get_thread_name().c_str(),
                static_cast<long>(::getpid()), ::syscall(SYS_gettid), func);
  }
  return block;
}

void qcril_free_adv(void* p, ...) {
  std::free(p);
}
