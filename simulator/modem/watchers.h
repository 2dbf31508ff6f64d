// Which clients have asked to be told of changes, and of which.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "simulator/port.h"

namespace sim {

enum class watched : std::uint8_t {
  operating_mode,
  serving_system,
  system_info,
  card_status,
  slot_status,
  config_change,
  config_refresh,
};

class watchers {
 public:
  void set(const client& who, watched what, bool on) {
    if (on) {
      all_[who].insert(what);
    } else if (const auto found = all_.find(who); found != all_.end()) {
      found->second.erase(what);
    }
  }
  void drop(const client& who) { all_.erase(who); }

  [[nodiscard]] std::vector<client> of(watched what) const {
    std::vector<client> found;
    for (const auto& [who, wanted] : all_) {
      if (wanted.contains(what)) found.push_back(who);
    }
    return found;
  }

 private:
  std::map<client, std::set<watched>, client_order> all_;
};

}  // namespace sim
