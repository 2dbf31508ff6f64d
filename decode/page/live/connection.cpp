#include "decode/page/live/connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

#include "host/uninterrupted.h"
#include "host/wait.h"

namespace decode::page {

namespace {

using namespace std::chrono_literals;

/// For the whole request.
constexpr auto request_time = 5s;
/// A browser that takes nothing for so long is given up.
constexpr auto patience = 30s;
/// For the browser to take the rest of an answer.
constexpr auto closing_time = 1s;

bool is_set(const pollfd& one, int what) {
  return (one.revents & what) != 0;
}

}  // namespace

connection::connection(int socket, int ending)
    : socket_(socket),
      ending_(ending),
      own_address_(host::ip_address::of_socket(socket)),
      request_until_(clock::now() + request_time) {}

/// A socket that is closed with input unread would take back what was sent.
connection::~connection() {
  ::shutdown(socket_.get(), SHUT_WR);
  const auto until = clock::now() + closing_time;
  while (wait_for(POLLIN, until) && discard_input()) {
  }
}

bool connection::wait_for(short what, clock::time_point until) const {
  std::array<pollfd, 2> waits{
      {{.fd = socket_.get(), .events = what, .revents = 0}, {ending_, POLLIN, 0}}};
  const int ready = host::uninterrupted(
      [&] { return ::poll(waits.data(), waits.size(), host::poll_timeout(until)); });
  return ready > 0 && waits[1].revents == 0;
}

bool connection::discard_input() const {
  std::array<char, 4096> unwanted;
  const ssize_t got = ::recv(socket_.get(), unwanted.data(), unwanted.size(), MSG_DONTWAIT);
  return got > 0 || (got < 0 && errno == EAGAIN);
}

connection::happening connection::wait(int event, clock::time_point until) const {
  while (true) {
    std::array<pollfd, 3> waits{{{.fd = socket_.get(), .events = POLLIN, .revents = 0},
                                 {ending_, POLLIN, 0},
                                 {event, POLLIN, 0}}};
    const int ready = host::uninterrupted(
        [&] { return ::poll(waits.data(), waits.size(), host::poll_timeout(until)); });
    if (is_set(waits[1], POLLIN)) return happening::ending;
    // It has asked for all that it can ask.
    if (waits[0].revents != 0 && !discard_input()) return happening::closed;
    if (is_set(waits[2], POLLIN)) return happening::event;
    if (ready <= 0 && clock::now() >= until) return happening::time_out;
  }
}

bool connection::read(std::string& to) const {
  std::array<char, 4096> piece;
  while (true) {
    const ssize_t got = ::recv(socket_.get(), piece.data(), piece.size(), MSG_DONTWAIT);
    if (got > 0) {
      to.append(piece.data(), static_cast<std::size_t>(got));
      return true;
    }
    if (got == 0 || errno != EAGAIN || !wait_for(POLLIN, request_until_)) return false;
  }
}

bool connection::write(std::string_view text) const {
  auto until = clock::now() + patience;
  while (!text.empty()) {
    const ssize_t sent =
        ::send(socket_.get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent > 0) {
      text.remove_prefix(static_cast<std::size_t>(sent));
      until = clock::now() + patience;
    } else if (errno != EAGAIN || !wait_for(POLLOUT, until)) {
      return false;
    }
  }
  return true;
}

}  // namespace decode::page
