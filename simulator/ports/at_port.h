// The AT channel: a pseudo-terminal, found through a symbolic link, on which the modem answers line
// by line.
#pragma once

#include <array>
#include <string>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>

#include "host/file_descriptor.h"
#include "simulator/at/at_commands.h"
#include "simulator/ports/terminal_link.h"
#include "simulator/trace.h"

namespace sim {

class at_port {
 public:
  at_port(asio::io_context& io, const std::string& path, modem& state, trace& trace);

 private:
  void receive();
  void received(std::string_view bytes);
  void line_ends();
  void send(std::string_view bytes);
  /// A client may open the terminal exclusively, but that must end when the client leaves.
  void share_after_each_client();

  host::file_descriptor
      terminal_;  ///< the clients' side; held open, so that a client's close is not a hang-up
  asio::posix::stream_descriptor ours_;
  asio::posix::stream_descriptor closings_;  ///< an inotify
  terminal_link link_;
  at_commands commands_;
  trace& trace_;
  std::array<char, 256> buffer_{};
  std::array<char, 256> closing_{};
  std::string line_;
  bool too_long_ = false;
};

}  // namespace sim
