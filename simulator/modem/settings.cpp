#include "simulator/modem/settings.h"

#include "simulator/modem/columns.h"

namespace sim {

settings::settings(store& store)
    : get_(store, "SELECT value FROM settings WHERE name = ?"),
      set_(store,
           "INSERT INTO settings VALUES (?, ?) "
           "ON CONFLICT (name) DO UPDATE SET value = excluded.value") {}

std::int64_t settings::get(const setting& which) {
  return get_
      .first(
          [&](SQLite::Statement& row) {
            check(row, 0, which);
            return row.getColumn(0).getInt64();
          },
          which.name)
      .value_or(which.at_first);
}

void settings::set(const setting& which, std::int64_t value) {
  set_.run(which.name, value);
}

void check(SQLite::Statement& row, int at, const setting& which) {
  check(row, at, column{"settings", which.name, column::kind::number, which.least, which.most});
}

}  // namespace sim
