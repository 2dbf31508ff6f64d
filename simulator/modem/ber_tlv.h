// BER-TLV data objects, as smart cards exchange them: tags of up to three bytes, lengths of up to
// two bytes after their marker.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "protocol/bytes.h"

namespace sim::ber {

struct object {
  std::uint32_t tag = 0;  ///< its bytes, first one highest: 0xBF2D
  protocol::byte_view value;
};

/// Walks objects side by side. After the last `next()`, `malformed()` is true when bytes were left.
class reader {
 public:
  explicit reader(protocol::byte_view bytes) : in_(bytes) {}

  [[nodiscard]] std::optional<object> next();
  [[nodiscard]] bool malformed() const { return malformed_; }

 private:
  std::optional<object> take();

  protocol::byte_reader in_;
  bool malformed_ = false;
};

/// The value of the first object with this tag.
[[nodiscard]] std::optional<protocol::byte_view> find(protocol::byte_view objects,
                                                      std::uint32_t tag);

void append_tag(std::vector<std::uint8_t>& out, std::uint32_t tag);
/// At most 65535 bytes of value.
void append(std::vector<std::uint8_t>& out, std::uint32_t tag, protocol::byte_view value);
[[nodiscard]] std::vector<std::uint8_t> made(std::uint32_t tag, protocol::byte_view value);

}  // namespace sim::ber
