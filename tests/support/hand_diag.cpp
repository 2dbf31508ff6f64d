#include "support/hand_diag.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

#include "support/sockets.h"

namespace support {

namespace {

/// Each packet of a packet socket is a request.
std::optional<bytes> take_all(bytes& come) {
  if (come.empty()) return {};
  return std::exchange(come, {});
}

}  // namespace

std::optional<bytes> hand_port::take_request(bytes& come) {
  const auto frame = take_diag_frame(come);
  return frame ? std::optional(diag_packet(*frame)) : std::nullopt;
}

hand_port::hand_port(kind which, cutter cut) : cut_(cut) {
  const auto path = dir_.file("diag.sock");
  if (which == kind::unix_socket) {
    listener_ = listening_at(path, SOCK_STREAM);
    endpoint_ = "unix:" + path;
  } else if (which == kind::packet_path || which == kind::packet_name) {
    cut_ = take_all;
    const bool has_path = which == kind::packet_path;
    listener_ = listening_at(has_path ? path : '\0' + path, SOCK_SEQPACKET);
    endpoint_ = "unix-packet:" + (has_path ? path : '@' + path);
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
    endpoint_ = std::string("tty:") + ptsname(connection_);
    terminal_ = open(ptsname(connection_), O_RDWR | O_NOCTTY | O_CLOEXEC);
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

void hand_port::write(bytes wire) {
  const std::lock_guard lock(mutex_);
  // The program may have left.
  const auto put = [this](const bytes& some) {
    (void)!(listener_ >= 0 ? send(connection_, some.data(), some.size(), MSG_NOSIGNAL)
                           : ::write(connection_, some.data(), some.size()));
  };
  if (cut_ != take_all) return put(wire);
  while (const auto packet = take_request(wire)) put(*packet);
}

void hand_port::close_connection() {
  const std::lock_guard lock(mutex_);
  if (listener_ >= 0 && connection_ >= 0) shutdown(connection_, SHUT_RDWR);
}

void hand_port::run() {
  if (listener_ < 0) return serve(connection_);
  while (!stop_) {
    const int accepted = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (accepted < 0) continue;
    std::unique_lock lock(mutex_);
    if (connection_ >= 0) close(connection_);
    connection_ = accepted;
    lock.unlock();
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
      std::unique_lock lock(mutex_);
      requests_.push_back(*request);
      const auto answer = handler_;
      lock.unlock();
      if (answer) answer(*request);
    }
  }
}

}  // namespace support
