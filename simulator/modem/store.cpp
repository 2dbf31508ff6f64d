#include "simulator/modem/store.h"

#include <fmt/core.h>

#include <cerrno>
#include <cstring>

#include "host/directories.h"
#include "host/private_files.h"
#include "simulator/modem/columns.h"
#include "simulator/modem/schema.h"

namespace sim {
namespace {

constexpr const char* add_one =
    "INSERT INTO counters VALUES (?, 1) ON CONFLICT (name) DO UPDATE SET value = value + 1 "
    "RETURNING value";

const std::string& made(const std::string& directory) {
  if (directory.empty()) {
    throw failure(fmt::format("no state directory: {}", host::no_state_directory));
  }
  if (!host::make_directories(directory)) {
    throw failure(
        fmt::format("cannot make the state directory {}: {}", directory, std::strerror(errno)));
  }
  if (const auto distrust = host::distrust_of_directory(directory); !distrust.empty()) {
    throw failure(fmt::format("cannot use the state directory {}: {}", directory, distrust));
  }
  return directory;
}

/// SQLite would create it as the umask says. The files that it adds get the same mode.
std::string made_file(const std::string& path) {
  if (const auto wrong = host::make_private_file(path); !wrong.empty()) {
    throw failure(fmt::format("cannot use {}: {}", path, wrong));
  }
  return path;
}

}  // namespace

std::string default_state_directory() {
  const std::string base = host::state_directory();
  return base.empty() ? base : base + "/modem";
}

prepared::prepared(store& owner, const std::string& sql)
    : owner_(owner), statement_(owner.database(), sql) {}

void prepared::fail(const SQLite::Exception& error) const {
  owner_.fail(error);
}

void prepared::fail(const damage& found) const {
  owner_.fail(found);
}

void store::fail(const SQLite::Exception& error) const {
  throw failure(fmt::format("cannot use {}: {}", path(), error.what()));
}

void store::fail(const damage& found) const {
  throw failure(fmt::format("{} is damaged: {}", path(), found.what()));
}

store::store(const std::string& directory)
    : directory_(made(directory)),
      database_(open_database(made_file(path()))),
      add_(*this, add_one),
      counter_(*this, "SELECT value FROM counters WHERE name = ?") {}

std::int64_t store::count(const std::string& counter) {
  return add_.use([&](SQLite::Statement& add) {
    add.bind(1, counter);
    add.executeStep();
    const std::int64_t value = number_in(add, 0, columns::counter_value);
    add.executeStep();  // the last step commits
    return value;
  });
}

std::int64_t store::counter(const std::string& name) {
  return counter_
      .first([](SQLite::Statement& row) { return number_in(row, 0, columns::counter_value); }, name)
      .value_or(0);
}

void store::checkpoint() try {
  // Passive: waiting for readers would hold up every client.
  database_.exec("PRAGMA wal_checkpoint(PASSIVE)");
} catch (const SQLite::Exception& error) {
  fail(error);
}

}  // namespace sim
