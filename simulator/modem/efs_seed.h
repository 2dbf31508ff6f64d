// The EFS files of a modem as it leaves the factory.
#pragma once

#include <SQLiteCpp/Database.h>

namespace sim {

/// Writes the files of both subscriptions, within the caller's transaction.
void seed_efs_files(SQLite::Database& database);

}  // namespace sim
