// What the modem remembers from one start to the next, in the SQLite database DIR/modem.db. Every
// change is a transaction of its own, so a modem that is killed leaves it whole, and two modems may
// share a directory.
#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>

#include <cstdint>
#include <string>

namespace sim {

class store {
 public:
  /// Makes the directory and the database where they are missing. Throws `failure` when they
  /// cannot be used: no access, not a database, another program's, or of a newer program.
  explicit store(const std::string& directory);

  /// Adds one to a counter. Throws `failure` when it could not be written.
  void count(const std::string& counter);

  /// 0 for one that never counted.
  [[nodiscard]] std::int64_t counter(const std::string& name);

 private:
  std::string path_;
  SQLite::Database database_;
  SQLite::Statement add_;
};

}  // namespace sim
