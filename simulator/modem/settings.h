// Single numbers that the modem remembers, by name.
#pragma once

#include <cstdint>
#include <string>

#include "simulator/modem/store.h"

namespace sim {

/// Both functions throw `failure` when the state cannot be read or written.
class settings {
 public:
  explicit settings(store& store);

  [[nodiscard]] std::int64_t get(const std::string& name, std::int64_t otherwise);
  void set(const std::string& name, std::int64_t value);

 private:
  prepared get_;
  prepared set_;
};

namespace setting {
inline constexpr const char* sar_state = "sar.state";
inline constexpr const char* slots_crossed = "uicc.crossed";   ///< 1: each over the other's place
inline constexpr const char* switch_notice = "switch.notice";  ///< second word << 32 | first word
}  // namespace setting

}  // namespace sim
