#include "simulator/ports/at_port.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <asio/buffer.hpp>

#include "simulator/failure.h"

namespace sim {
namespace {

constexpr std::size_t longest_line = 512;

[[noreturn]] void fail(const char* what, const std::string& terminal) {
  throw failure(fmt::format("cannot {} {}: {}", what, terminal, std::strerror(errno)));
}

host::file_descriptor open_terminal(const std::string& name) {
  host::file_descriptor terminal(::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (!terminal.valid()) fail("open", name);
  return terminal;
}

/// Readable when somebody has closed the terminal.
host::file_descriptor watch_closings(const std::string& terminal) {
  host::file_descriptor watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  if (!watch.valid() || ::inotify_add_watch(watch.get(), terminal.c_str(), IN_CLOSE) < 0) {
    fail("watch", terminal);
  }
  return watch;
}

}  // namespace

at_port::at_port(asio::io_context& io, const std::string& path, modem& state, trace& trace)
    : ours_(io, open_pseudo_terminal().release()),
      closings_(io, watch_closings(terminal_of(ours_.native_handle())).release()),
      link_(path, terminal_of(ours_.native_handle())),
      commands_(state),
      trace_(trace) {
  terminal_ = open_terminal(terminal_of(ours_.native_handle()));
  receive();
  share_after_each_client();
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

void at_port::share_after_each_client() {
  closings_.async_read_some(asio::buffer(closing_),
                            [this](const std::error_code& error, std::size_t /*size*/) {
                              if (error) return;
                              ::ioctl(terminal_.get(), TIOCNXCL);
                              share_after_each_client();
                            });
}

void at_port::send(std::string_view bytes) {
  if (::write(ours_.native_handle(), bytes.data(), bytes.size()) >= 0) return;
  // No client reads: make room by discarding what was not read.
  ::tcflush(terminal_.get(), TCIFLUSH);
  if (::write(ours_.native_handle(), bytes.data(), bytes.size()) < 0) {
    trace_.note("AT answer dropped, nobody reads");
  }
}

}  // namespace sim
