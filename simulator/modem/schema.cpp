#include "simulator/modem/schema.h"

#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <fmt/core.h>
#include <sqlite3.h>

#include <chrono>
#include <thread>

#include "simulator/failure.h"
#include "simulator/modem/columns.h"
#include "simulator/modem/profile_store.h"
#include "simulator/modem/seeds.h"
#include "simulator/modem/settings.h"

namespace sim {
namespace {

constexpr int application_id = 0x54564B4D;  // "TVKM": distinguishes our databases from others
constexpr int busy_timeout_ms = 5000;

struct step {
  const char* tables;
  void (*fill)(SQLite::Database& database);
};

void fill_items_and_files(SQLite::Database& database) {
  seed_nv_items(database);
  seed_efs_files(database);
}

/// From schema version N to N + 1, for each N from 0.
constexpr step steps[] = {
    {"CREATE TABLE counters ("
     "  name TEXT PRIMARY KEY NOT NULL, value INTEGER NOT NULL) WITHOUT ROWID",
     nullptr},
    {"CREATE TABLE nv_items ("
     "  subscription INTEGER NOT NULL, id INTEGER NOT NULL, data BLOB NOT NULL,"
     "  PRIMARY KEY (subscription, id)) WITHOUT ROWID;"
     "CREATE TABLE efs_files ("
     "  subscription INTEGER NOT NULL, path TEXT NOT NULL, data BLOB NOT NULL,"
     "  PRIMARY KEY (subscription, path));"
     "CREATE TABLE settings ("
     "  name TEXT PRIMARY KEY NOT NULL, value INTEGER NOT NULL) WITHOUT ROWID",
     fill_items_and_files},
    {"CREATE TABLE euicc_profiles ("
     "  isdp_aid BLOB PRIMARY KEY NOT NULL, iccid BLOB NOT NULL, enabled INTEGER NOT NULL,"
     "  provider TEXT NOT NULL, name TEXT NOT NULL) WITHOUT ROWID",
     seed_profiles},
    // Modes, directories and links.
    {"CREATE TABLE efs_entries ("
     "  path TEXT PRIMARY KEY NOT NULL, mode INTEGER NOT NULL, target TEXT NOT NULL) WITHOUT ROWID",
     nullptr},
    {"CREATE TABLE pdc_configs ("
     "  number INTEGER PRIMARY KEY, type INTEGER NOT NULL, id BLOB NOT NULL,"
     "  description TEXT NOT NULL, version INTEGER NOT NULL, data BLOB NOT NULL,"
     "  is_active INTEGER NOT NULL DEFAULT 0, is_pending INTEGER NOT NULL DEFAULT 0,"
     "  UNIQUE (type, id))",
     seed_pdc_configs},
    {"CREATE TABLE euicc_texts ("
     "  iccid BLOB PRIMARY KEY NOT NULL, text TEXT NOT NULL) WITHOUT ROWID;"
     "CREATE TABLE euicc_notifications ("
     "  number INTEGER PRIMARY KEY AUTOINCREMENT, operation INTEGER NOT NULL,"
     "  iccid BLOB NOT NULL)",
     nullptr},
};
constexpr int schema_version = std::size(steps);

/// Upper limits on rows: what fits one answer, and what there can be only one of.
struct row_limit {
  const char* count;
  int most;
  const char* says;
};
constexpr row_limit row_limits[] = {
    {"SELECT count(*) FROM euicc_profiles", most_profiles, "euicc_profiles has too many rows"},
    {"SELECT count(*) FROM euicc_profiles WHERE enabled", 1, "euicc_profiles has two enabled"},
    {"SELECT max(n) FROM (SELECT count(*) n FROM pdc_configs WHERE is_active GROUP BY type)", 1,
     "pdc_configs has two active ones of one type"},
    {"SELECT max(n) FROM (SELECT count(*) n FROM pdc_configs WHERE is_pending GROUP BY type)", 1,
     "pdc_configs has two pending ones of one type"},
};

int number(SQLite::Database& database, const char* query) {
  return database.execAndGet(query).getInt();
}

void check_owner(SQLite::Database& database, const std::string& path) {
  const int found = number(database, "PRAGMA user_version");
  if (found > schema_version) {
    throw failure(fmt::format("{} has schema version {}, this program knows up to {}", path, found,
                              schema_version));
  }
  const bool blank = found == 0 && number(database, "SELECT count(*) FROM sqlite_master") == 0;
  if (!blank && number(database, "PRAGMA application_id") != application_id) {
    throw failure(path + " is a database of another program");
  }
}

void check_whole(SQLite::Database& database, const std::string& path) {
  const std::string check = database.execAndGet("PRAGMA quick_check(1)").getString();
  if (check != "ok") throw failure(fmt::format("{} is damaged: {}", path, check));
}

/// Checks that every column is there and holds what it may, before anything relies on it.
void check_contents(SQLite::Database& database) {
  for (const column* const each : columns::all) {
    SQLite::Statement rows(database, fmt::format("SELECT {} FROM {}", each->name, each->table));
    while (rows.executeStep()) check(rows, 0, *each);
  }
  SQLite::Statement value(database, "SELECT value FROM settings WHERE name = ?");
  for (const setting* const each : setting_of::all) {
    value.bind(1, each->name);
    if (value.executeStep()) check(value, 0, *each);
    value.reset();
  }
  for (const row_limit& each : row_limits) {
    if (number(database, each.count) > each.most) throw damage(each.says);
  }
}

void check_tables(SQLite::Database& database, const std::string& path) try {
  check_contents(database);
} catch (const std::runtime_error& error) {
  // Also an error of SQLite: by their version the tables are ours, yet they are not.
  throw failure(fmt::format("{} is damaged: {}", path, error.what()));
}

void bring_up_to_date(SQLite::Database& database, const std::string& path) {
  // Another modem may be creating the same database.
  SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
  check_owner(database, path);
  for (int at = number(database, "PRAGMA user_version"); at < schema_version; ++at) {
    database.exec(steps[at].tables);
    if (steps[at].fill != nullptr) steps[at].fill(database);
    database.exec(fmt::format("PRAGMA user_version = {}", at + 1));
    database.exec(fmt::format("PRAGMA application_id = {}", application_id));
  }
  check_tables(database, path);
  transaction.commit();
}

SQLite::Database open_once(const std::string& path) {
  SQLite::Database database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, busy_timeout_ms);
  // Before the first write, so that a foreign or damaged file stays as it is.
  check_owner(database, path);
  check_whole(database, path);
  bring_up_to_date(database, path);
  // Synchronous NORMAL: a commit survives the death of the process without waiting for the disk.
  database.exec("PRAGMA journal_mode = WAL");
  database.exec("PRAGMA synchronous = NORMAL");
  return database;
}

}  // namespace

SQLite::Database open_database(const std::string& path) try {
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::milliseconds(busy_timeout_ms);
  for (;;) {
    try {
      return open_once(path);
    } catch (const SQLite::Exception& error) {
      // Changing the journal does not wait for another that opens the database at the same time.
      if (error.getErrorCode() != SQLITE_BUSY || std::chrono::steady_clock::now() > deadline) throw;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }
} catch (const SQLite::Exception& error) {
  throw failure(fmt::format("cannot use {}: {}", path, error.what()));
}

}  // namespace sim
