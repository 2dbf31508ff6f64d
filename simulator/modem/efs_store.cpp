#include "simulator/modem/efs_store.h"

#include "simulator/modem/columns.h"

namespace sim {

efs_store::efs_store(store& store) : item_store(store, columns::efs_path, columns::efs_data) {}

}  // namespace sim
