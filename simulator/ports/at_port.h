// The AT channel: a pseudo-terminal, found through a symbolic link, on which the modem answers line
// by line.
#pragma once

#include <array>
#include <string>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>

#include "simulator/at/at_commands.h"
#include "simulator/ports/terminals.h"
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

  shared_terminal terminal_;
  asio::posix::stream_descriptor ours_;
  at_commands commands_;
  trace& trace_;
  std::array<char, 256> buffer_{};
  std::string line_;
  bool too_long_ = false;
};

}  // namespace sim
