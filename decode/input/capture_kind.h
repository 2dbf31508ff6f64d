// Recognises the kind of a capture by its content, because file names say little.
#pragma once

#include <cstddef>
#include <cstdint>

#include "protocol/bytes.h"

namespace decode {

enum class capture_kind : std::uint8_t {
  hdlc,  // DIAG frames as sent over a wire: .qmdl, .mi2log, .qmdl2 after its header
  logs,  // consecutive inner log packets: .dlf
  bare,  // consecutive whole log packets (10 00 n n ...), without framing
};

struct recognised {
  capture_kind kind = capture_kind::hdlc;
  std::size_t header = 0;  // bytes before the first packet
};

/// How many bytes of a capture are examined.
constexpr std::size_t recognised_from = std::size_t{64} * 1024;

/// `front` is the first recognised_from bytes of a capture, or all of a shorter one. Anything
/// unknown counts as frames, which may start later.
[[nodiscard]] recognised recognise(protocol::byte_view front);

}  // namespace decode
