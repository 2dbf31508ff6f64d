// A column of the state database and what it may hold. SQLite returns whatever is there, even from
// a damaged disk or another program, so each value is checked as it is read.
#pragma once

#include <SQLiteCpp/Statement.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "protocol/bytes.h"

namespace sim {

struct column {
  enum class kind : std::uint8_t { number, text, bytes };
  const char* table;
  const char* name;
  kind holds;
  std::int64_t least;  ///< value of a number, size in bytes of text and bytes
  std::int64_t most;
};

/// A value that its column may not hold. Names column and value, not the database.
struct damage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The value in the row's column number `at`. Throw `damage`. Text and bytes stay valid as long as
/// the statement stays on its row.
[[nodiscard]] std::int64_t number_in(SQLite::Statement& row, int at, const column& what);
[[nodiscard]] std::string_view text_in(SQLite::Statement& row, int at, const column& what);
[[nodiscard]] protocol::byte_view bytes_in(SQLite::Statement& row, int at, const column& what);

/// Throws `damage` when the row's column number `at` holds what it may not.
void check(SQLite::Statement& row, int at, const column& what);

}  // namespace sim
