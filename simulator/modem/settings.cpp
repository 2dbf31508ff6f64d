#include "simulator/modem/settings.h"

namespace sim {

settings::settings(store& store)
    : get_(store, "SELECT value FROM settings WHERE name = ?"),
      set_(store,
           "INSERT INTO settings VALUES (?, ?) "
           "ON CONFLICT (name) DO UPDATE SET value = excluded.value") {}

std::int64_t settings::get(const std::string& name, std::int64_t otherwise) {
  return get_.use([&](SQLite::Statement& query) {
    query.bind(1, name);
    return query.executeStep() ? query.getColumn(0).getInt64() : otherwise;
  });
}

void settings::set(const std::string& name, std::int64_t value) {
  set_.use([&](SQLite::Statement& insert) {
    insert.bind(1, name);
    insert.bind(2, value);
    insert.exec();
  });
}

}  // namespace sim
