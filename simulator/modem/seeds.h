// What a modem has as it leaves the factory. All are written within the caller's transaction.
#pragma once

#include <SQLiteCpp/Database.h>

#include <cstdint>

namespace sim {

/// The published name of an NV item, "" for one that is not in the table.
[[nodiscard]] const char* nv_item_name(std::uint16_t id);

// Of both subscriptions.
void seed_nv_items(SQLite::Database& database);
void seed_efs_files(SQLite::Database& database);

void seed_pdc_configs(SQLite::Database& database);
/// On the eUICC.
void seed_profiles(SQLite::Database& database);

}  // namespace sim
