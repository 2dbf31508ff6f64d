// The numbered NV items and the files of the embedded file system: bytes of either subscription, by
// number or by path.
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

constexpr std::uint16_t last_nv_item = 7232;
constexpr std::size_t max_nv_item_size = 365;

constexpr std::size_t max_efs_path_size = 71;
constexpr std::size_t max_efs_file_size = 102410;
constexpr std::size_t max_efs_link_size = 1024;  ///< of a link's target

/// Every function throws `failure` when the state cannot be read or written.
template <typename Key>
class item_store {
 public:
  explicit item_store(store& store);

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

 private:
  prepared read_;
  prepared write_;
  prepared erase_;
  prepared list_;
};

using nv_store = item_store<std::uint16_t>;
using efs_store = item_store<std::string>;
extern template class item_store<std::uint16_t>;
extern template class item_store<std::string>;

}  // namespace sim
