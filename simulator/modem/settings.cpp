#include "simulator/modem/settings.h"

#include "simulator/modem/columns.h"

namespace sim {

settings::settings(store& store)
    : get_(store, "SELECT value FROM settings WHERE name = ?"),
      set_(store,
           "INSERT INTO settings VALUES (?, ?) "
           "ON CONFLICT (name) DO UPDATE SET value = excluded.value") {}

std::int64_t settings::get(const setting& which) {
  return get_.use([&](SQLite::Statement& query) {
    query.bind(1, which.name);
    if (!query.executeStep()) return which.at_first;
    check(query, 0, which);
    return query.getColumn(0).getInt64();
  });
}

void settings::set(const setting& which, std::int64_t value) {
  set_.use([&](SQLite::Statement& insert) {
    insert.bind(1, which.name);
    insert.bind(2, value);
    insert.exec();
  });
}

void check(SQLite::Statement& row, int at, const setting& which) {
  check(row, at, column{"settings", which.name, column::kind::number, which.least, which.most});
}

}  // namespace sim
