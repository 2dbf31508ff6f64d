#include "simulator/modem/pdc_configs.h"

#include "simulator/modem/byte_strings.h"
#include "simulator/modem/columns.h"

namespace sim {
namespace {

/// The modem does not read what is in the files.
constexpr const char* description_of_loaded = "loaded";

std::optional<config_id> id_of_type(prepared& query_of_id, std::uint32_t type) {
  return query_of_id.first(
      [](SQLite::Statement& row) { return copied(bytes_in(row, 0, columns::config_id)); }, type);
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
  std::vector<config_name> names;
  std::int64_t last = after;
  list_.each(
      [&](SQLite::Statement& row) {
        names.push_back({static_cast<std::uint32_t>(number_in(row, 0, columns::config_type)),
                         copied(bytes_in(row, 1, columns::config_id))});
        last = number_in(row, 2, columns::config_number);
      },
      type, after, static_cast<std::int64_t>(most));
  after = last;
  return names;
}

std::optional<config_details> pdc_configs::find(const config_name& name) {
  return find_.first(
      [](SQLite::Statement& row) {
        return config_details{
            static_cast<std::uint32_t>(bytes_in(row, 0, columns::config_data).size()),
            std::string(text_in(row, 1, columns::config_description)),
            static_cast<std::uint32_t>(number_in(row, 2, columns::config_version))};
      },
      name.type, name.id);
}

std::uint64_t pdc_configs::used_bytes(std::uint32_t type) {
  const auto used =
      used_.first([](SQLite::Statement& row) { return row.getColumn(0).getInt64(); }, type);
  return static_cast<std::uint64_t>(used.value_or(0));
}

bool pdc_configs::add(const config_name& name, protocol::byte_view data) {
  return add_.run(name.type, name.id, data, description_of_loaded) != 0;
}

pdc_configs::erased pdc_configs::erase(const config_name& name) {
  if (erase_.run(name.type, name.id) != 0) return erased::done;
  return find(name) ? erased::active : erased::not_there;
}

std::optional<config_id> pdc_configs::active(std::uint32_t type) {
  return id_of_type(active_, type);
}

std::optional<config_id> pdc_configs::pending(std::uint32_t type) {
  return id_of_type(pending_, type);
}

bool pdc_configs::select(const config_name& name) {
  return select_.run(name.type, name.id) != 0;
}

bool pdc_configs::activate(std::uint32_t type) {
  return activate_.run(type) != 0;
}

void pdc_configs::deactivate(std::uint32_t type) {
  deactivate_.run(type);
}

}  // namespace sim
