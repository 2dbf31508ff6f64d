// What the modem remembers from one start to the next, in the SQLite database DIR/modem.db. Every
// change is a transaction of its own, so a modem that is killed leaves it whole, and modems and
// programs may share a directory: each sees at once what another changed.
#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>

#include "simulator/failure.h"
#include "simulator/modem/bind.h"
#include "simulator/modem/column.h"

namespace sim {

class store;

/// Where a modem keeps its state by default; empty when the environment names no place, and then no
/// `store` opens it.
[[nodiscard]] std::string default_state_directory();

/// A statement prepared once. It is ready again after each use, even one that failed; an error is a
/// `failure` that names the database.
class prepared {
 public:
  prepared(store& owner, const std::string& sql);

  /// Runs with these values; returns how many rows changed.
  template <typename... Values>
  int run(const Values&... values) {
    return use([&](SQLite::Statement& statement) {
      bind_all(statement, values...);
      return statement.exec();
    });
  }

  /// Runs with these values; returns what `read` makes of the first row, if there is one.
  template <typename Read, typename... Values>
  auto first(Read read, const Values&... values) {
    using value = std::invoke_result_t<Read&, SQLite::Statement&>;
    return use([&](SQLite::Statement& query) -> std::optional<value> {
      bind_all(query, values...);
      if (!query.executeStep()) return std::nullopt;
      return read(query);
    });
  }

  /// Runs with these values and visits every row.
  template <typename Visit, typename... Values>
  void each(Visit visit, const Values&... values) {
    use([&](SQLite::Statement& query) {
      bind_all(query, values...);
      while (query.executeStep()) visit(query);
    });
  }

  template <typename Action>
  auto use(Action action) {
    const struct ready_again {
      SQLite::Statement& statement;
      ~ready_again() { statement.tryReset(); }
    } guard{statement_};
    try {
      return action(statement_);
    } catch (const SQLite::Exception& error) {
      fail(error);
    } catch (const damage& found) {
      fail(found);
    }
  }

 private:
  [[noreturn]] void fail(const SQLite::Exception& error) const;
  [[noreturn]] void fail(const damage& found) const;

  store& owner_;
  SQLite::Statement statement_;
};

class store {
 public:
  /// Makes the directory and the database where they are missing. Throws `failure` when they
  /// cannot be used: no access, not a database, another program's, of a newer program, or damaged.
  /// Nothing is changed then.
  explicit store(const std::string& directory);

  /// Adds one to a counter and returns its new value. Throws `failure` when it could not be
  /// written.
  std::int64_t count(const std::string& counter);

  /// 0 for a counter that was never used.
  [[nodiscard]] std::int64_t counter(const std::string& name);

  /// Moves what is committed from the log into the database, as far as no reader prevents it.
  void checkpoint();

  /// Everything that the action changes is one transaction. Throws `failure`, and then nothing is
  /// changed.
  template <typename Action>
  void together(Action action) {
    try {
      SQLite::Transaction all(database_, SQLite::TransactionBehavior::IMMEDIATE);
      action();
      all.commit();
    } catch (const SQLite::Exception& error) {
      fail(error);
    }
  }

  [[nodiscard]] const std::string& directory() const { return directory_; }
  [[nodiscard]] std::string path() const { return directory_ + "/modem.db"; }
  [[nodiscard]] SQLite::Database& database() { return database_; }

  /// Throw the `failure` that names the database.
  [[noreturn]] void fail(const SQLite::Exception& error) const;
  [[noreturn]] void fail(const damage& found) const;

 private:
  std::string directory_;
  SQLite::Database database_;
  prepared add_;
  prepared counter_;
};

}  // namespace sim
