// The numbered NV items of both subscriptions.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "protocol/bytes.h"
#include "simulator/modem/store.h"

namespace sim {

constexpr std::uint8_t last_subscription = 1;
constexpr std::uint16_t last_nv_item = 7232;
constexpr std::size_t max_nv_item_size = 365;

/// Every function throws `failure` when the state cannot be read or written.
class nv_store {
 public:
  explicit nv_store(store& store);

  [[nodiscard]] std::optional<std::vector<std::uint8_t>> read(std::uint8_t subscription,
                                                              std::uint16_t id);
  void write(std::uint8_t subscription, std::uint16_t id, protocol::byte_view data);
  /// False when there was none.
  [[nodiscard]] bool erase(std::uint8_t subscription, std::uint16_t id);

  void for_each(std::uint8_t subscription,
                const std::function<void(std::uint16_t id, protocol::byte_view data)>& visit);

 private:
  prepared read_;
  prepared write_;
  prepared erase_;
  prepared list_;
};

}  // namespace sim
