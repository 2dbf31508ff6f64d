// A client of the modem socket: raw socket calls and packets written by hand.
//
// A packet is node u32, port u32, datagram. The simulated modem's extension service is 0xFFE4,
// instance word 0x101, at node 0 port 1, SAR is 0x11 at port 2, UIM 0x0B at port 3, PDC 0x24 at
// port 4, NAS 0x03 at port 5, statistics 0xE4 at port 6, DMS 0x02 at port 7, WDS 0x01 at port 8;
// the control port of the local node is 1:0xFFFFFFFE.
#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/bytes.h"

namespace support {

namespace packets {

inline const bytes control = hex("01000000 feffffff");
inline const bytes service = hex("00000000 01000000");
inline const bytes look_up_all = control + hex("0a000000 00000000 00000000 00000000 00000000");
inline const bytes look_up_extension =
    control + hex("0a000000 e4ff0000 01010000 00000000 00000000");
inline const bytes end_look_up_all = control + hex("0b000000 00000000 00000000 00000000 00000000");
inline const bytes service_up = control + hex("04000000 e4ff0000 01010000 00000000 01000000");
inline const bytes service_down = control + hex("05000000 e4ff0000 01010000 00000000 01000000");
inline const bytes sar = hex("00000000 02000000");
inline const bytes sar_up = control + hex("04000000 11000000 01010000 00000000 02000000");
inline const bytes sar_down = control + hex("05000000 11000000 01010000 00000000 02000000");
inline const bytes uim = hex("00000000 03000000");
inline const bytes uim_up = control + hex("04000000 0b000000 01010000 00000000 03000000");
inline const bytes uim_down = control + hex("05000000 0b000000 01010000 00000000 03000000");
inline const bytes pdc = hex("00000000 04000000");
inline const bytes pdc_up = control + hex("04000000 24000000 01010000 00000000 04000000");
inline const bytes pdc_down = control + hex("05000000 24000000 01010000 00000000 04000000");
inline const bytes nas_up = control + hex("04000000 03000000 01010000 00000000 05000000");
inline const bytes nas_down = control + hex("05000000 03000000 01010000 00000000 05000000");
inline const bytes statistics_up = control + hex("04000000 e4000000 01010000 00000000 06000000");
inline const bytes statistics_down = control + hex("05000000 e4000000 01010000 00000000 06000000");
inline const bytes dms_up = control + hex("04000000 02000000 01010000 00000000 07000000");
inline const bytes dms_down = control + hex("05000000 02000000 01010000 00000000 07000000");
inline const bytes wds_up = control + hex("04000000 01000000 01010000 00000000 08000000");
inline const bytes wds_down = control + hex("05000000 01000000 01010000 00000000 08000000");
/// What a modem's whole list is, and what a restart takes down.
inline const std::vector<bytes> all_up = {
    service_up, sar_up, uim_up, pdc_up, nas_up, statistics_up, dms_up, wds_up,
};
inline const std::vector<bytes> all_down = {
    service_down, sar_down, uim_down, pdc_down, nas_down, statistics_down, dms_down, wds_down,
};
inline const bytes end_of_list = control + hex("04000000 00000000 00000000 00000000 00000000");

inline const bytes answer_tlvs =
    hex("01 0400 00000000  02 0400 03000000  10 0002 aabbcc") + bytes(509);

/// An echo request of type 1 with three payload bytes; the transaction id is its last argument.
inline bytes echo(const char* transaction = "0100") {
  return service + hex("00") + hex(transaction) +
         hex("0200 1402  01 0400 01000000  02 0400 03000000  10 0002 aabbccdd") + bytes(508) +
         hex("11 0000");
}
inline bytes echo_answer(const char* transaction = "0100") {
  return service + hex("02") + hex(transaction) + hex("0200 1102") + answer_tlvs;
}

}  // namespace packets

inline sockaddr_un address_of(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  return address;
}

class modem_connection {
 public:
  explicit modem_connection(const std::string& path)
      : socket_(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)) {
    const sockaddr_un address = address_of(path);
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
      throw std::runtime_error("connect: " + path);
    }
  }
  modem_connection(const modem_connection&) = delete;
  modem_connection& operator=(const modem_connection&) = delete;
  ~modem_connection() { ::close(socket_); }

  [[nodiscard]] bool send(const bytes& packet) const {
    return ::send(socket_, packet.data(), packet.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(packet.size());
  }

  /// Throws when nothing comes; nothing at all when the modem closed the connection.
  [[nodiscard]] bytes receive(std::chrono::milliseconds limit = std::chrono::seconds(30)) const {
    if (!readable(limit)) throw std::runtime_error("nothing received");
    bytes packet(100'000);
    const ssize_t size = ::recv(socket_, packet.data(), packet.size(), 0);
    packet.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return packet;
  }

  [[nodiscard]] bytes ask(const bytes& packet) const { return send(packet) ? receive() : bytes(); }

  [[nodiscard]] bool readable(std::chrono::milliseconds limit) const {
    pollfd one{socket_, POLLIN, 0};
    return ::poll(&one, 1, static_cast<int>(limit.count())) == 1;
  }

 private:
  int socket_;
};

}  // namespace support
