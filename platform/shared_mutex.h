// The platform's shared mutex, of which the tool uses the exclusive half.
#pragma once

#ifdef __ANDROID__
#include <array>
#include <cstddef>
#else
#include <shared_mutex>
#endif

namespace qtimutex {

/// On the phone lock and unlock are the library's, for a class whose members are not known here. It
/// is assumed to start as zeros, as every mutex of Android's C library does, and to fit into this
/// room, several times that of any of them.
class QtiSharedMutex {
 public:
  QtiSharedMutex() = default;
  QtiSharedMutex(const QtiSharedMutex&) = delete;
  QtiSharedMutex& operator=(const QtiSharedMutex&) = delete;

  void lock();
  void unlock();

 private:
#ifdef __ANDROID__
  [[maybe_unused]] alignas(std::max_align_t) std::array<std::byte, 1024> room_{};
#else
  std::shared_mutex mutex_;
#endif
};

}  // namespace qtimutex
