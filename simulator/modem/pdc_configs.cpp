#include "simulator/modem/pdc_configs.h"

#include "simulator/modem/columns.h"

namespace sim {
namespace {

/// The files say nothing that we could read.
constexpr const char* description_of_loaded = "loaded";

void bind_bytes(SQLite::Statement& statement, int at, protocol::byte_view bytes) {
  statement.bindNoCopy(at, bytes.data(), static_cast<int>(bytes.size()));
}

void bind_name(SQLite::Statement& statement, const config_name& name) {
  statement.bind(1, name.type);
  bind_bytes(statement, 2, name.id);
}

std::optional<config_id> id_of_type(prepared& query_of_id, std::uint32_t type) {
  return query_of_id.use([&](SQLite::Statement& query) -> std::optional<config_id> {
    query.bind(1, type);
    if (!query.executeStep()) return std::nullopt;
    const auto id = bytes_in(query, 0, columns::config_id);
    return config_id(id.begin(), id.end());
  });
}

}  // namespace

pdc_configs::pdc_configs(store& store)
    : list_(store,
            "SELECT type, id, number FROM pdc_configs WHERE (?1 IS NULL OR type = ?1) "
            "AND number > ?2 ORDER BY number LIMIT ?3"),
      find_(store,
            "SELECT data, description, version FROM pdc_configs "
            "WHERE type = ? AND id = ?"),
      used_(store, "SELECT total(length(data)) FROM pdc_configs WHERE type = ?"),
      add_(store,
           "INSERT OR IGNORE INTO pdc_configs (type, id, data, description, version) "
           "VALUES (?, ?, ?, ?, 0)"),
      erase_(store, "DELETE FROM pdc_configs WHERE type = ? AND id = ? AND NOT is_active"),
      active_(store, "SELECT id FROM pdc_configs WHERE type = ? AND is_active"),
      pending_(store, "SELECT id FROM pdc_configs WHERE type = ? AND is_pending"),
      select_(store,
              "UPDATE pdc_configs SET is_pending = (id = ?2) WHERE type = ?1 AND EXISTS "
              "(SELECT 1 FROM pdc_configs WHERE type = ?1 AND id = ?2)"),
      activate_(store,
                "UPDATE pdc_configs SET is_active = is_pending, is_pending = 0 WHERE type = ?1 "
                "AND EXISTS (SELECT 1 FROM pdc_configs WHERE type = ?1 AND is_pending)"),
      deactivate_(store, "UPDATE pdc_configs SET is_active = 0, is_pending = 0 WHERE type = ?") {}

std::vector<config_name> pdc_configs::list(std::optional<std::uint32_t> type, std::int64_t& after,
                                           std::size_t most) {
  return list_.use([&](SQLite::Statement& query) {
    if (type) {
      query.bind(1, *type);
    } else {
      query.bind(1);
    }
    query.bind(2, after);
    query.bind(3, static_cast<std::int64_t>(most));
    std::vector<config_name> names;
    while (query.executeStep()) {
      const auto id = bytes_in(query, 1, columns::config_id);
      names.push_back({static_cast<std::uint32_t>(number_in(query, 0, columns::config_type)),
                       {id.begin(), id.end()}});
      after = number_in(query, 2, columns::config_number);
    }
    return names;
  });
}

std::optional<config_details> pdc_configs::find(const config_name& name) {
  return find_.use([&](SQLite::Statement& query) -> std::optional<config_details> {
    bind_name(query, name);
    if (!query.executeStep()) return std::nullopt;
    return config_details{
        static_cast<std::uint32_t>(bytes_in(query, 0, columns::config_data).size()),
        std::string(text_in(query, 1, columns::config_description)),
        static_cast<std::uint32_t>(number_in(query, 2, columns::config_version))};
  });
}

std::uint64_t pdc_configs::used_bytes(std::uint32_t type) {
  return used_.use([&](SQLite::Statement& query) {
    query.bind(1, type);
    query.executeStep();
    return static_cast<std::uint64_t>(query.getColumn(0).getInt64());
  });
}

bool pdc_configs::add(const config_name& name, protocol::byte_view data) {
  return add_.use([&](SQLite::Statement& insert) {
    bind_name(insert, name);
    bind_bytes(insert, 3, data);
    insert.bind(4, description_of_loaded);
    return insert.exec() != 0;
  });
}

pdc_configs::erased pdc_configs::erase(const config_name& name) {
  const bool is_gone = erase_.use([&](SQLite::Statement& remove) {
    bind_name(remove, name);
    return remove.exec() != 0;
  });
  if (is_gone) return erased::done;
  return find(name) ? erased::active : erased::not_there;
}

std::optional<config_id> pdc_configs::active(std::uint32_t type) {
  return id_of_type(active_, type);
}

std::optional<config_id> pdc_configs::pending(std::uint32_t type) {
  return id_of_type(pending_, type);
}

bool pdc_configs::select(const config_name& name) {
  return select_.use([&](SQLite::Statement& update) {
    bind_name(update, name);
    return update.exec() != 0;
  });
}

bool pdc_configs::activate(std::uint32_t type) {
  return activate_.use([&](SQLite::Statement& update) {
    update.bind(1, type);
    return update.exec() != 0;
  });
}

void pdc_configs::deactivate(std::uint32_t type) {
  deactivate_.use([&](SQLite::Statement& update) {
    update.bind(1, type);
    update.exec();
  });
}

}  // namespace sim
