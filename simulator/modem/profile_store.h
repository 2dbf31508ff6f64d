// The operator profiles on the eUICC; at most one of them is enabled.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "protocol/bytes.h"
#include "simulator/modem/store.h"

namespace sim {

struct profile {
  std::vector<std::uint8_t> isdp_aid;  ///< 16 bytes
  std::vector<std::uint8_t> iccid;     ///< 10 bytes, the digits of each pair swapped
  bool enabled = false;
  std::string provider;
  std::string name;
};

constexpr std::size_t most_profiles = 4;

/// Every function throws `failure` when the state cannot be read or written.
class profile_store {
 public:
  explicit profile_store(store& store);

  /// In the order of their AIDs.
  [[nodiscard]] std::vector<profile> all();
  [[nodiscard]] std::optional<profile> enabled();

  /// Enables this profile only, or none when the AID is empty.
  void enable_only(protocol::byte_view isdp_aid);
  void erase(protocol::byte_view isdp_aid);
  /// Returns how many there were.
  int erase_all();

 private:
  prepared list_;
  prepared enable_;
  prepared erase_;
  prepared erase_all_;
};

}  // namespace sim
