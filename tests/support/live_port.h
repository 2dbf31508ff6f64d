// A DIAG port that tvk-decode --live can use, of bytes written by hand.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/eventually.h"
#include "support/hand_diag.h"

namespace support {

/// Answers as a modem with logs 0x1000 to 0x1FFF and 0xB000 to 0xBFFF and all events, of which some
/// are on already. It keeps its masks when its client goes, as a phone does.
class live_port {
 public:
  live_port() {
    port_.on_request([this](const bytes& request) { answer(request); });
  }

  std::vector<std::string> arguments(std::vector<std::string> more) const {
    more.insert(more.begin(), {"--live", port_.endpoint(), "-f", "jsonl"});
    return more;
  }
  hand_diag& port() { return port_; }

  /// Waits until the requests so far hold `count` that begin with `front`.
  bool wait_for(const bytes& front, std::size_t count) const {
    return eventually([&] { return beginning_with(front).size() >= count; });
  }

  std::vector<bytes> beginning_with(const bytes& front) const {
    auto all = port_.requests();
    std::erase_if(all, [&](const bytes& one) {
      return one.size() < front.size() || !std::equal(front.begin(), front.end(), one.begin());
    });
    return all;
  }

  static inline const bytes logs_before = hex("01 00*511");
  static inline const bytes events_before = hex("00*511 80");

  bytes logs(const bytes& equipment) const {
    const auto all = beginning_with(hex("73000000 03000000") + equipment);
    return all.empty() ? logs_before : bytes(all.back().begin() + 16, all.back().end());
  }
  bytes events() const {
    const auto all = beginning_with(hex("82"));
    return all.empty() ? events_before : bytes(all.back().begin() + 6, all.back().end());
  }

 private:
  bytes answer_to(const bytes& request) const {
    if (request[0] == 0x60) return hex("60 0000");
    if (request[0] == 0x81) return hex("81 00 0000 0010") + events();
    if (request[0] == 0x82)
      return hex("82 00 0000 0010") + bytes(request.begin() + 6, request.end());
    const auto done = bytes(request.begin(), request.begin() + 8) + hex("00000000");
    if (request[4] == 1) return done + hex("00*4 00100000 00*36 00100000 00*16");
    const bytes which(request.begin() + 8, request.begin() + 12);
    if (request[4] == 4) return done + which + hex("00100000") + logs(which);
    return done + bytes(request.begin() + 8, request.end());
  }

  void answer(const bytes& request) {
    const bytes wire = diag_frame(answer_to(request));
    port_.write(wire);
  }

  hand_diag port_;
};

}  // namespace support
