#include "simulator/modem/nv_store.h"

#include "simulator/modem/columns.h"

namespace sim {

nv_store::nv_store(store& store) : item_store(store, columns::nv_id, columns::nv_data) {}

}  // namespace sim
