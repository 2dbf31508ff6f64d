// The numbered NV items of both subscriptions.
#pragma once

#include <cstdint>

#include "simulator/modem/item_store.h"

namespace sim {

constexpr std::uint16_t last_nv_item = 7232;
constexpr std::size_t max_nv_item_size = 365;

class nv_store : public item_store<std::uint16_t> {
 public:
  explicit nv_store(store& store);
};

}  // namespace sim
