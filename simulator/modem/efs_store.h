// The files of the modem's embedded file system, of both subscriptions, by path.
#pragma once

#include <string>

#include "simulator/modem/item_store.h"

namespace sim {

constexpr std::size_t max_efs_path_size = 71;
constexpr std::size_t max_efs_file_size = 102410;
constexpr std::size_t max_efs_link_size = 1024;  ///< of a link's target

class efs_store : public item_store<std::string> {
 public:
  explicit efs_store(store& store);
};

}  // namespace sim
