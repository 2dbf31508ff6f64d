#include "simulator/ports/at_port.h"

#include <unistd.h>

#include <utility>

#include <asio/buffer.hpp>

namespace sim {
namespace {

constexpr std::size_t longest_line = 512;

}  // namespace

at_port::at_port(asio::io_context& io, const std::string& path, modem& state, trace& trace)
    : terminal_(io, path, [] {}),
      ours_(io, terminal_.take_ours().release()),
      commands_(state),
      trace_(trace) {
  receive();
}

void at_port::receive() {
  ours_.async_read_some(asio::buffer(buffer_),
                        [this](const std::error_code& error, std::size_t size) {
                          if (error) return;
                          received({buffer_.data(), size});
                          receive();
                        });
}

void at_port::received(std::string_view bytes) {
  if (commands_.echo()) send(bytes);
  for (const char each : bytes) {
    if (each == '\r' || each == '\n') {
      line_ends();
    } else if (line_.size() < longest_line) {
      line_ += each;
    } else {
      too_long_ = true;
    }
  }
}

void at_port::line_ends() {
  const std::string line = std::exchange(line_, {});
  const std::string answer =
      std::exchange(too_long_, false) ? std::string("ERROR") : commands_.answer(line);
  if (answer.empty()) return;
  trace_.at(trace::direction::to_modem, line);
  trace_.at(trace::direction::from_modem, answer);
  send("\r\n" + answer + "\r\n");
}

void at_port::send(std::string_view bytes) {
  if (::write(ours_.native_handle(), bytes.data(), bytes.size()) >= 0) return;
  // No client reads: make room by discarding what was not read.
  terminal_.discard_unread();
  if (::write(ours_.native_handle(), bytes.data(), bytes.size()) < 0) {
    trace_.note("AT answer dropped, nobody reads");
  }
}

}  // namespace sim
