// The tables of the state database, and how an older one becomes a current one.
#pragma once

#include <SQLiteCpp/Database.h>

#include <string>

namespace sim {

/// Opens the database at `path`, creating it if necessary, and brings its tables up to date in one
/// transaction. Throws `failure`.
[[nodiscard]] SQLite::Database open_database(const std::string& path);

}  // namespace sim
