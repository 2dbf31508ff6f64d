// What NV items and EFS files have in common: bytes of either subscription, found by a key.
#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "protocol/bytes.h"
#include "simulator/modem/store.h"

namespace sim {

constexpr std::uint8_t last_subscription = 1;

/// Every function throws `failure` when the state cannot be read or written.
template <typename Key>
class item_store {
 public:
  using key_view = std::conditional_t<std::integral<Key>, Key, std::string_view>;

  [[nodiscard]] std::optional<std::vector<std::uint8_t>> read(std::uint8_t subscription,
                                                              const Key& key);
  /// All at once or not at all.
  void write(std::uint8_t subscription, const Key& key, protocol::byte_view data);
  /// False when there was none.
  [[nodiscard]] bool erase(std::uint8_t subscription, const Key& key);

  /// In the order of the keys.
  void for_each(std::uint8_t subscription,
                const std::function<void(key_view key, protocol::byte_view data)>& visit);

 protected:
  /// Both columns are of one table.
  item_store(store& store, const column& key, const column& data);

 private:
  const column& key_;
  const column& data_;
  prepared read_;
  prepared write_;
  prepared erase_;
  prepared list_;
};

extern template class item_store<std::uint16_t>;
extern template class item_store<std::string>;

}  // namespace sim
