#include "simulator/modem/store.h"

#include <fmt/core.h>

#include <cerrno>
#include <cstring>

#include "protocol/endpoint.h"
#include "simulator/modem/schema.h"

namespace sim {
namespace {

constexpr const char* add_one =
    "INSERT INTO counters VALUES (?, 1) ON CONFLICT (name) DO UPDATE SET value = value + 1 "
    "RETURNING value";

const std::string& made(const std::string& directory) {
  if (!protocol::make_directories(directory)) {
    throw failure(
        fmt::format("cannot make the state directory {}: {}", directory, std::strerror(errno)));
  }
  return directory;
}

}  // namespace

prepared::prepared(store& owner, const char* sql)
    : owner_(owner), statement_(owner.database(), sql) {}

void prepared::fail(const SQLite::Exception& error) const {
  owner_.fail(error);
}

void store::fail(const SQLite::Exception& error) const {
  throw failure(fmt::format("cannot use {}: {}", path(), error.what()));
}

store::store(const std::string& directory)
    : directory_(made(directory)),
      database_(open_database(path())),
      add_(*this, add_one),
      counter_(*this, "SELECT value FROM counters WHERE name = ?") {}

std::int64_t store::count(const std::string& counter) {
  return add_.use([&](SQLite::Statement& add) {
    add.bind(1, counter);
    add.executeStep();
    const std::int64_t value = add.getColumn(0).getInt64();
    add.executeStep();  // to the end: that is the commit
    return value;
  });
}

std::int64_t store::counter(const std::string& name) {
  return counter_.use([&](SQLite::Statement& query) {
    query.bind(1, name);
    return query.executeStep() ? query.getColumn(0).getInt64() : 0;
  });
}

void store::checkpoint() try {
  // Passive: one that waits for readers would hold every client up.
  database_.exec("PRAGMA wal_checkpoint(PASSIVE)");
} catch (const SQLite::Exception& error) {
  fail(error);
}

protocol::byte_view blob(SQLite::Statement& row, int column) {
  const SQLite::Column value = row.getColumn(column);
  return {static_cast<const std::uint8_t*>(value.getBlob()),
          static_cast<std::size_t>(value.getBytes())};
}

}  // namespace sim
