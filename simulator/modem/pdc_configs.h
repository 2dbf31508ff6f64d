// The carrier configurations that the modem keeps. Of each type one may be active, and one pending:
// it becomes the active one when it is activated.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "protocol/bytes.h"
#include "services/pdc_v01.h"
#include "simulator/modem/store.h"

namespace sim {

constexpr std::uint32_t last_config_type = PDC_CONFIG_TYPE_SOFTWARE_V01;
constexpr std::size_t max_config_id_size = pdc_config_id_max_v01;
constexpr std::size_t max_config_description_size = pdc_config_description_max_v01;

/// Bytes of all configurations of one type.
constexpr std::uint64_t max_config_bytes = std::uint64_t{4} << 20;

using config_id = std::vector<std::uint8_t>;

struct config_name {
  std::uint32_t type = 0;
  config_id id;

  friend bool operator==(const config_name&, const config_name&) = default;
};

struct config_details {
  std::uint32_t size = 0;
  std::string description;
  std::uint32_t version = 0;
};

/// Every function throws `failure` when the state cannot be read or written.
class pdc_configs {
 public:
  explicit pdc_configs(store& store);

  /// At most `most`, in the order in which they were added, of one type or all. `after` is the
  /// number of the last one that the caller has, and becomes that of the last one returned.
  [[nodiscard]] std::vector<config_name> list(std::optional<std::uint32_t> type,
                                              std::int64_t& after, std::size_t most);
  [[nodiscard]] std::optional<config_details> find(const config_name& name);
  [[nodiscard]] std::uint64_t used_bytes(std::uint32_t type);

  /// False when the name is taken.
  [[nodiscard]] bool add(const config_name& name, protocol::byte_view data);

  enum class erased : std::uint8_t { done, not_there, active };
  [[nodiscard]] erased erase(const config_name& name);

  [[nodiscard]] std::optional<config_id> active(std::uint32_t type);
  [[nodiscard]] std::optional<config_id> pending(std::uint32_t type);
  /// False when there is no configuration of this name.
  [[nodiscard]] bool select(const config_name& name);
  /// The pending one becomes active; false when there is none.
  [[nodiscard]] bool activate(std::uint32_t type);
  /// Afterwards none is active or pending.
  void deactivate(std::uint32_t type);

 private:
  prepared list_;
  prepared find_;
  prepared used_;
  prepared add_;
  prepared erase_;
  prepared active_;
  prepared pending_;
  prepared select_;
  prepared activate_;
  prepared deactivate_;
};

}  // namespace sim
