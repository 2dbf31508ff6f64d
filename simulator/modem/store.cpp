#include "simulator/modem/store.h"

#include <SQLiteCpp/Transaction.h>
#include <fmt/core.h>

#include <cerrno>
#include <cstring>

#include "protocol/endpoint.h"
#include "simulator/failure.h"

namespace sim {
namespace {

constexpr int schema_version = 1;
constexpr int application_id = 0x54564B4D;  // "TVKM": tells our databases from others
constexpr int busy_timeout_ms = 5000;

constexpr const char* schema =
    "CREATE TABLE counters (name TEXT PRIMARY KEY NOT NULL, value INTEGER NOT NULL) WITHOUT ROWID";

constexpr const char* add_one =
    "INSERT INTO counters VALUES (?, 1) ON CONFLICT (name) DO UPDATE SET value = value + 1";

std::string database_in(const std::string& directory) {
  if (!protocol::make_directories(directory)) {
    throw failure(
        fmt::format("cannot make the state directory {}: {}", directory, std::strerror(errno)));
  }
  return directory + "/modem.db";
}

int number(SQLite::Database& database, const char* query) {
  return database.execAndGet(query).getInt();
}

void create_or_check_schema(SQLite::Database& database, const std::string& path) {
  SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
  const int found = number(database, "PRAGMA user_version");
  if (found > schema_version) {
    throw failure(fmt::format("{} has schema version {}, this program knows up to {}", path, found,
                              schema_version));
  }
  const bool blank = found == 0 && number(database, "SELECT count(*) FROM sqlite_master") == 0;
  if (!blank && number(database, "PRAGMA application_id") != application_id) {
    throw failure(path + " is a database of another program");
  }
  if (blank) {
    database.exec(schema);
    database.exec(fmt::format("PRAGMA application_id = {}", application_id));
    database.exec(fmt::format("PRAGMA user_version = {}", schema_version));
  }
  transaction.commit();
}

SQLite::Database open(const std::string& path) try {
  SQLite::Database database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, busy_timeout_ms);
  // Before the first write, so that a foreign file stays as it is.
  create_or_check_schema(database, path);
  // Synchronous NORMAL: a commit survives the death of the process without waiting for the disk.
  database.exec("PRAGMA journal_mode = WAL");
  database.exec("PRAGMA synchronous = NORMAL");
  if (const std::string check = database.execAndGet("PRAGMA quick_check(1)").getString();
      check != "ok") {
    throw failure(fmt::format("{} is damaged: {}", path, check));
  }
  return database;
} catch (const SQLite::Exception& error) {
  throw failure(fmt::format("cannot use {}: {}", path, error.what()));
}

}  // namespace

store::store(const std::string& directory) try
    : path_(database_in(directory)), database_(open(path_)), add_(database_, add_one) {
} catch (const SQLite::Exception& error) {
  // The version says it is ours, the table is not.
  throw failure(fmt::format("{}/modem.db is damaged: {}", directory, error.what()));
}

void store::count(const std::string& counter) try {
  add_.bind(1, counter);
  add_.exec();
  add_.reset();
} catch (const SQLite::Exception& error) {
  add_.tryReset();
  throw failure(fmt::format("cannot write {}: {}", path_, error.what()));
}

std::int64_t store::counter(const std::string& name) {
  SQLite::Statement query(database_, "SELECT value FROM counters WHERE name = ?");
  query.bind(1, name);
  return query.executeStep() ? query.getColumn(0).getInt64() : 0;
}

}  // namespace sim
