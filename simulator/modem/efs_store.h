// The files of the modem's embedded file system, of both subscriptions.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/bytes.h"
#include "simulator/modem/store.h"

namespace sim {

constexpr std::size_t max_efs_path_size = 71;
constexpr std::size_t max_efs_file_size = 102410;
constexpr std::size_t max_efs_link_size = 1024;  ///< of what a link leads to

/// Every function throws `failure` when the state cannot be read or written.
class efs_store {
 public:
  explicit efs_store(store& store);

  [[nodiscard]] std::optional<std::vector<std::uint8_t>> read(std::uint8_t subscription,
                                                              const std::string& path);
  /// The whole file at once, or nothing of it.
  void write(std::uint8_t subscription, const std::string& path, protocol::byte_view data);
  /// False when there was none.
  [[nodiscard]] bool erase(std::uint8_t subscription, const std::string& path);

  void for_each(std::uint8_t subscription,
                const std::function<void(std::string_view path, protocol::byte_view data)>& visit);

 private:
  prepared read_;
  prepared write_;
  prepared erase_;
  prepared list_;
};

}  // namespace sim
