// Pseudo-terminals that clients find through a symbolic link. PATH.lock is held as for a socket, so
// a link whose lock is free was left by a killed modem.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>

#include "host/file_descriptor.h"
#include "simulator/ports/socket_path.h"

namespace sim {

/// The modem's side of a new pseudo-terminal. The clients' side is raw, so that answers are not
/// echoed back as requests. Throws `failure`.
[[nodiscard]] host::file_descriptor open_pseudo_terminal();
/// The name of the clients' side.
[[nodiscard]] std::string terminal_of(int ours);

/// The link from a chosen path to the terminal.
class terminal_link {
 public:
  /// Throws `failure`, and has then changed nothing but leftovers of a killed modem.
  terminal_link(const std::string& path, std::string terminal);
  terminal_link(const terminal_link&) = delete;
  terminal_link& operator=(const terminal_link&) = delete;
  /// Removes the link.
  ~terminal_link();

  /// Replaces the link's target atomically. Throws `failure`, and then the link is unchanged.
  void lead_to(const std::string& terminal);

 private:
  std::string path_;
  std::string terminal_;
  bool lock_was_there_;
  path_lock lock_;
};

/// A terminal that stays the same for one client after the other, as a device does.
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
