// The carrier configurations of a modem as it leaves the factory.
#pragma once

#include <SQLiteCpp/Database.h>

namespace sim {

/// Within the caller's transaction.
void seed_pdc_configs(SQLite::Database& database);

}  // namespace sim
