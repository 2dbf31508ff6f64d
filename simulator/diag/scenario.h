// What the modem logs without a capture: measurements of its radio, its cells, its data,
// signalling, and event 1606 as its RRC state changes.
#pragma once

#include <cstdint>
#include <vector>

#include "simulator/diag/stream.h"
#include "simulator/modem/radio.h"

namespace sim::diag {

class scenario : public source {
 public:
  explicit scenario(const radio& seen) : radio_(seen) {}

  [[nodiscard]] std::unique_ptr<cursor> begin() const override;

 private:
  const radio& radio_;
};

/// The payload of the log's packet number `nth`; empty for a log that the scenario does not have.
[[nodiscard]] std::vector<std::uint8_t> log_payload(std::uint16_t code, const radio_values& seen,
                                                    std::uint32_t nth);

/// Log 0xB0C2, the serving cell, which faults send unasked.
[[nodiscard]] std::vector<std::uint8_t> serving_cell_log(const radio_values& seen,
                                                         std::uint64_t time);

}  // namespace sim::diag
