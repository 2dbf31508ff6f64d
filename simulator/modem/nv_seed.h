// The NV items of a modem as it leaves the factory. Numbers and names as they are widely published.
#pragma once

#include <SQLiteCpp/Database.h>

#include <cstdint>

namespace sim {

/// The published name of an item, "" for one that is not in the table.
[[nodiscard]] const char* nv_item_name(std::uint16_t id);

/// Writes the items of both subscriptions, within the caller's transaction.
void seed_nv_items(SQLite::Database& database);

}  // namespace sim
