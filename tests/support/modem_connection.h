// A client of the modem socket: raw socket calls and packets written by hand.
//
// A packet is node u32, port u32, datagram. The simulated modem's extension service is 0xFFE4,
// instance word 0x101, at node 0 port 1, SAR is 0x11 at port 2, UIM 0x0B at port 3, PDC 0x24 at
// port 4, NAS 0x03 at port 5, statistics 0xE4 at port 6, DMS 0x02 at port 7, WDS 0x01 at port 8,
// WDA 0x1A at port 9; the control port of the local node is 1:0xFFFFFFFE.
#pragma once

#include "support/sockets.h"
#include "support/test.h"

namespace support {

namespace packets {

// Services by their ports.
constexpr std::uint8_t sar_port = 2;
constexpr std::uint8_t uim_port = 3;
constexpr std::uint8_t nas_port = 5;
constexpr std::uint8_t dms_port = 7;
constexpr std::uint8_t wds_port = 8;
constexpr std::uint8_t wda_port = 9;

/// Of the standard response.
inline const bytes done = hex("02 0400 0000 0000");
inline bytes failed(const char* code) {
  return hex("02 0400 0100") + hex(code);
}

inline const bytes control = hex("01000000 feffffff");
inline const bytes service = hex("00000000 01000000");
inline const bytes look_up_all = control + hex("0a000000 00*16");
inline const bytes look_up_extension = control + hex("0a000000 e4ff0000 01010000 00*8");
inline const bytes end_look_up_all = control + hex("0b000000 00*16");
/// Matches nothing: its answer shows that all before it were taken.
inline const bytes look_up_nothing = control + hex("0a000000 0c000000 00*12");
inline const bytes sar = hex("00000000 02000000");
inline const bytes uim = hex("00000000 03000000");
inline const bytes pdc = hex("00000000 04000000");

/// NEW_SERVER or DEL_SERVER, by its number, of every service.
inline std::vector<bytes> announced(const char* command) {
  std::vector<bytes> all;
  for (const std::string ids : {"e4ff 01", "1100 02", "0b00 03", "2400 04", "0300 05", "e400 06",
                                "0200 07", "0100 08", "1a00 09"}) {
    all.push_back(control + hex(command + ("000000" + ids.substr(0, 4)) + "0000 01010000 00000000" +
                                ids.substr(4) + "000000"));
  }
  return all;
}
inline const std::vector<bytes> all_up = announced("04");
inline const std::vector<bytes> all_down = announced("05");
inline const bytes service_up = all_up[0];
inline const bytes service_down = all_down[0];
inline const bytes sar_up = all_up[1];
inline const bytes sar_down = all_down[1];
inline const bytes end_of_list = control + hex("04000000 00*16");

inline std::vector<bytes> listed(std::vector<bytes> services) {
  services.push_back(end_of_list);
  return services;
}

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

class modem_connection : public open_socket {
 public:
  explicit modem_connection(int descriptor) : open_socket(descriptor) {}
  explicit modem_connection(const std::string& path)
      : open_socket(connected(path, SOCK_SEQPACKET)) {}

  [[nodiscard]] bool send(const bytes& packet) const {
    return ::send(descriptor_, packet.data(), packet.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(packet.size());
  }

  [[nodiscard]] std::vector<bytes> receive_many(std::size_t count) const {
    std::vector<bytes> packets;
    while (packets.size() < count) packets.push_back(receive());
    return packets;
  }

  [[nodiscard]] bytes ask(const bytes& packet) const { return send(packet) ? receive() : bytes(); }
  /// The TLVs that the service at this port answers to a message.
  bytes ask(std::uint8_t port, const char* message, const bytes& tlvs = {}) const {
    constexpr std::size_t headers = 15;  // address and message
    const bytes service = hex("00000000") + bytes{port, 0, 0, 0};
    const bytes answer = ask(service + hex("00 0100") + hex(message) + u16(tlvs.size()) + tlvs);
    EXPECT_EQ(slice(answer, 0, headers),
              service + hex("02 0100") + hex(message) + u16(answer.size() - headers));
    return slice(answer, headers);
  }
  [[nodiscard]] std::vector<bytes> look_up(const bytes& packet) const {
    std::vector<bytes> found = {ask(packet)};
    while (!found.back().empty() && found.back() != packets::end_of_list) {
      found.push_back(receive());
    }
    return found;
  }
};

}  // namespace support
