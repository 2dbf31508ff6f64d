#include "simulator/modem/nv_store.h"

#include "simulator/modem/columns.h"

namespace sim {

nv_store::nv_store(store& store)
    : read_(store, "SELECT data FROM nv_items WHERE subscription = ? AND id = ?"),
      write_(store,
             "INSERT INTO nv_items VALUES (?, ?, ?) "
             "ON CONFLICT (subscription, id) DO UPDATE SET data = excluded.data"),
      erase_(store, "DELETE FROM nv_items WHERE subscription = ? AND id = ?"),
      list_(store, "SELECT id, data FROM nv_items WHERE subscription = ? ORDER BY id") {}

std::optional<std::vector<std::uint8_t>> nv_store::read(std::uint8_t subscription,
                                                        std::uint16_t id) {
  return read_.use([&](SQLite::Statement& query) -> std::optional<std::vector<std::uint8_t>> {
    query.bind(1, subscription);
    query.bind(2, id);
    if (!query.executeStep()) return std::nullopt;
    const auto data = bytes_in(query, 0, columns::nv_data);
    return std::vector<std::uint8_t>(data.begin(), data.end());
  });
}

void nv_store::write(std::uint8_t subscription, std::uint16_t id, protocol::byte_view data) {
  write_.use([&](SQLite::Statement& insert) {
    insert.bind(1, subscription);
    insert.bind(2, id);
    insert.bindNoCopy(3, data.data(), static_cast<int>(data.size()));
    insert.exec();
  });
}

bool nv_store::erase(std::uint8_t subscription, std::uint16_t id) {
  return erase_.use([&](SQLite::Statement& remove) {
    remove.bind(1, subscription);
    remove.bind(2, id);
    return remove.exec() != 0;
  });
}

void nv_store::for_each(
    std::uint8_t subscription,
    const std::function<void(std::uint16_t id, protocol::byte_view data)>& visit) {
  list_.use([&](SQLite::Statement& query) {
    query.bind(1, subscription);
    while (query.executeStep()) {
      visit(static_cast<std::uint16_t>(number_in(query, 0, columns::nv_id)),
            bytes_in(query, 1, columns::nv_data));
    }
  });
}

}  // namespace sim
