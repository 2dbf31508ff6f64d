#include "support/hand_diag.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "support/sockets.h"

namespace support {

namespace {

std::optional<bytes> take_frame(bytes& come) {
  const auto end = std::ranges::find(come, 0x7E);
  if (end == come.end()) return {};
  const bytes frame(come.begin(), end + 1);
  come.erase(come.begin(), end + 1);
  return diag_packet(frame);
}

/// What a packet socket has given is a request.
std::optional<bytes> take_all(bytes& come) {
  if (come.empty()) return {};
  return std::exchange(come, {});
}

}  // namespace

hand_diag::hand_diag(kind which) : hand_port(which, take_frame) {}

hand_port::hand_port(kind which, cutter cut) : cut_(cut) {
  if (which == kind::unix_socket) {
    const auto path = dir_.file("diag.sock");
    listener_ = listening_at(path, SOCK_STREAM);
    endpoint_ = "unix:" + path;
  } else if (which == kind::packet_path || which == kind::packet_name) {
    cut_ = take_all;
    const bool has_path = which == kind::packet_path;
    const auto name = dir_.file("router");
    listener_ = listening_at(has_path ? name : '\0' + name, SOCK_SEQPACKET);
    endpoint_ = "unix-packet:" + (has_path ? name : '@' + name);
  } else if (which == kind::tcp) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        listen(listener_, 4) != 0) {
      throw std::runtime_error("listen");
    }
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    endpoint_ = "tcp:127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  } else {
    connection_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (grantpt(connection_) != 0 || unlockpt(connection_) != 0) throw std::runtime_error("pty");
    const std::string path = ptsname(connection_);
    terminal_ = open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    endpoint_ = "tty:" + path;
  }
  thread_ = std::thread([this] { run(); });
}

hand_port::~hand_port() {
  stop_ = true;
  if (listener_ >= 0) shutdown(listener_, SHUT_RDWR);
  close_connection();
  thread_.join();
  for (const int each : {listener_, terminal_, connection_}) {
    if (each >= 0) close(each);
  }
}

void hand_port::on_request(handler answer) {
  const std::lock_guard lock(mutex_);
  handler_ = std::move(answer);
}

void hand_port::write(bytes wire) {
  const std::lock_guard lock(mutex_);
  if (cut_ == take_all) {
    while (const auto packet = take_frame(wire)) {
      send(connection_, packet->data(), packet->size(), MSG_NOSIGNAL);
    }
  }
  for (std::size_t done = 0; done < wire.size();) {
    const ssize_t count =
        listener_ >= 0 ? send(connection_, wire.data() + done, wire.size() - done, MSG_NOSIGNAL)
                       : ::write(connection_, wire.data(), wire.size());
    if (count <= 0) return;  // the program may have left
    done += static_cast<std::size_t>(count);
  }
}

void hand_port::close_connection() {
  const std::lock_guard lock(mutex_);
  if (listener_ >= 0 && connection_ >= 0) shutdown(connection_, SHUT_RDWR);
}

std::vector<bytes> hand_port::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void hand_port::run() {
  if (listener_ < 0) return serve(connection_);
  while (!stop_) {
    const int accepted = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (accepted < 0) continue;
    {
      const std::lock_guard lock(mutex_);
      if (connection_ >= 0) close(connection_);
      connection_ = accepted;
      if (stop_) return;
    }
    serve(accepted);
  }
}

void hand_port::serve(int connection) {
  bytes come;
  bytes buffer(4096);
  while (!stop_) {
    pollfd wait{connection, POLLIN, 0};
    if (poll(&wait, 1, 50) == 0) continue;
    const ssize_t count = read(connection, buffer.data(), buffer.size());
    if (count <= 0) return;
    come = come + slice(buffer, 0, static_cast<std::size_t>(count));
    while (const auto request = cut_(come)) {
      handler answer;
      {
        const std::lock_guard lock(mutex_);
        requests_.push_back(*request);
        answer = handler_;
      }
      if (answer) answer(*request);
    }
  }
}

}  // namespace support
