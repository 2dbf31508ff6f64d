// Log packets and events that the modem sends unasked. Every client has its own cursor, so that a
// slow one gets all of them, later, without holding up the others.
#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "protocol/bytes.h"

namespace sim::diag {

class cursor {
 public:
  cursor() = default;
  cursor(const cursor&) = delete;
  cursor& operator=(const cursor&) = delete;
  virtual ~cursor() = default;

  /// When the next packet is due, since the cursor was made; nothing at the end.
  [[nodiscard]] virtual std::optional<std::chrono::microseconds> due() = 0;
  /// The next packet, with its code and, where it has one, its radio wrapper; empty when there is
  /// nothing at that time. Not to be called at the end. Valid until the next call.
  [[nodiscard]] virtual protocol::byte_view take() = 0;
};

class source {
 public:
  source() = default;
  source(const source&) = delete;
  source& operator=(const source&) = delete;
  virtual ~source() = default;

  [[nodiscard]] virtual std::unique_ptr<cursor> begin() const = 0;
};

}  // namespace sim::diag
