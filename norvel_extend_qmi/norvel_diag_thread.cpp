#include "norvel_extend_qmi/norvel_diag_thread.h"

#include <pthread.h>

#include <memory>

namespace norvel_diag {
namespace {

/// What a new thread runs.
struct thread_start {
  void* (*body)(void*);
  void* argument;
};

}  // namespace

int start_thread(void* (*body)(void*), void* argument) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  auto start = std::make_unique<thread_start>(thread_start{body, argument});
  // The thread names itself: it may end before the thread that created it could.
  const auto named = [](void* given) -> void* {
    const std::unique_ptr<thread_start> what(static_cast<thread_start*>(given));
    pthread_setname_np(pthread_self(), "KEMO DIAG");
    return what->body(what->argument);
  };
  pthread_t thread{};
  const int created = pthread_create(&thread, &attributes, named, start.get());
  if (created == 0) static_cast<void>(start.release());
  pthread_attr_destroy(&attributes);
  return created;
}

}  // namespace norvel_diag
