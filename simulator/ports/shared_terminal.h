// A pseudo-terminal, found through a symbolic link, that stays the same for one client after the
// other, as a device does.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>

#include "host/file_descriptor.h"
#include "simulator/ports/terminal_link.h"

namespace sim {

class shared_terminal {
 public:
  /// Calls `left` whenever somebody has closed the terminal. Throws `failure`.
  shared_terminal(asio::io_context& io, const std::string& path, std::function<void()> left);

  /// The modem's side; to be taken once.
  [[nodiscard]] host::file_descriptor take_ours() { return std::move(ours_); }

  /// Calls `left` now for those who have closed the terminal before what is read next was sent.
  void note_closings();
  /// Throws away what clients have not read.
  void discard_unread() const;

 private:
  void watch();

  host::file_descriptor ours_;
  host::file_descriptor theirs_;  ///< held open, so that a client's close is not a hang-up
  asio::posix::stream_descriptor closings_;  ///< an inotify
  terminal_link link_;
  std::function<void()> left_;
};

}  // namespace sim
