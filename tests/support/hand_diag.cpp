#include "support/hand_diag.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

#include "support/sockets.h"

namespace support {

hand_diag::hand_diag(kind which) {
  if (which == kind::unix_socket) {
    const auto path = dir_.file("diag.sock");
    listener_ = listening_at(path, SOCK_STREAM);
    endpoint_ = "unix:" + path;
  } else if (which == kind::packet_path || which == kind::packet_name) {
    keeps_packets_ = true;
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

hand_diag::~hand_diag() {
  stop_ = true;
  if (listener_ >= 0) shutdown(listener_, SHUT_RDWR);
  close_connection();
  thread_.join();
  for (const int each : {listener_, terminal_, connection_}) {
    if (each >= 0) close(each);
  }
}

void hand_diag::on_request(handler answer) {
  const std::lock_guard lock(mutex_);
  handler_ = std::move(answer);
}

void hand_diag::write(const bytes& wire) {
  const std::lock_guard lock(mutex_);
  if (!keeps_packets_) return static_cast<void>(put(wire));
  for (auto from = wire.begin(); from != wire.end();) {
    const auto end = std::find(from, wire.end(), 0x7E) + 1;
    if (!put(diag_packet({from, end}))) return;
    from = end;
  }
}

/// False when the program has left.
bool hand_diag::put(const bytes& some) const {
  for (std::size_t done = 0; done < some.size();) {
    const ssize_t count =
        listener_ >= 0 ? send(connection_, some.data() + done, some.size() - done, MSG_NOSIGNAL)
                       : ::write(connection_, some.data(), some.size());
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

void hand_diag::close_connection() {
  const std::lock_guard lock(mutex_);
  if (listener_ >= 0 && connection_ >= 0) shutdown(connection_, SHUT_RDWR);
}

std::vector<bytes> hand_diag::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void hand_diag::run() {
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

void hand_diag::serve(int connection) {
  bytes frame;
  bytes buffer(4096);
  while (!stop_) {
    pollfd wait{connection, POLLIN, 0};
    if (poll(&wait, 1, 50) == 0) continue;
    const ssize_t count = read(connection, buffer.data(), buffer.size());
    if (count <= 0) return;
    if (keeps_packets_) {
      take({buffer.begin(), buffer.begin() + count});
      continue;
    }
    for (ssize_t i = 0; i < count; ++i) {
      frame.push_back(buffer[static_cast<std::size_t>(i)]);
      if (frame.back() != 0x7E) continue;
      take(diag_packet(frame));
      frame.clear();
    }
  }
}

void hand_diag::take(const bytes& request) {
  handler answer;
  {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    answer = handler_;
  }
  if (answer) answer(request);
}

}  // namespace support
