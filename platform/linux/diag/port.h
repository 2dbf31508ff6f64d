// The byte stream to a modem's DIAG port.
#pragma once

#include <chrono>
#include <string>

#include "host/file_descriptor.h"
#include "protocol/bytes.h"

namespace diag {

/// What TVK_DIAG names: unix:PATH, tcp:HOST:PORT (a numeric address or localhost) or tty:PATH;
/// unset is diag.sock in the runtime directory.
[[nodiscard]] std::string named_port();

/// Not valid when there is no such port: what is wrong is told once on standard error. Reading and
/// writing do not block.
[[nodiscard]] host::file_descriptor open_port(const std::string& text);

constexpr std::chrono::milliseconds write_patience{3000};

/// Writes all, waiting for room. False when the port is gone or has no room for `patience`: part of
/// the bytes may be written then.
[[nodiscard]] bool write_all(int port, protocol::byte_view bytes,
                             std::chrono::milliseconds patience = write_patience);

}  // namespace diag
