// What kind of capture bytes are. Names of files say little: the content decides.
#pragma once

#include <cstddef>
#include <cstdint>

#include "protocol/bytes.h"

namespace decode {

enum class capture_kind : std::uint8_t {
  hdlc,  // DIAG frames as they came over a wire: .qmdl, .mi2log, .qmdl2 behind its header
  logs,  // inner log packets back to back: .dlf
  bare,  // whole log packets (10 00 n n ...) back to back, without framing
};

struct recognised {
  capture_kind kind = capture_kind::hdlc;
  std::size_t header = 0;  // bytes before the first packet
};

/// How much of a capture is looked at.
constexpr std::size_t recognised_from = std::size_t{64} * 1024;

/// `front` is the first recognised_from bytes of a capture, or all there are. What is nothing else
/// is taken for frames, which may yet come.
[[nodiscard]] recognised recognise(protocol::byte_view front);

}  // namespace decode
