#include "simulator/modem/efs_store.h"

#include "simulator/modem/columns.h"

namespace sim {

efs_store::efs_store(store& store)
    : read_(store, "SELECT data FROM efs_files WHERE subscription = ? AND path = ?"),
      write_(store,
             "INSERT INTO efs_files VALUES (?, ?, ?) "
             "ON CONFLICT (subscription, path) DO UPDATE SET data = excluded.data"),
      erase_(store, "DELETE FROM efs_files WHERE subscription = ? AND path = ?"),
      list_(store, "SELECT path, data FROM efs_files WHERE subscription = ? ORDER BY path") {}

std::optional<std::vector<std::uint8_t>> efs_store::read(std::uint8_t subscription,
                                                         const std::string& path) {
  return read_.use([&](SQLite::Statement& query) -> std::optional<std::vector<std::uint8_t>> {
    query.bind(1, subscription);
    query.bind(2, path);
    if (!query.executeStep()) return std::nullopt;
    const auto data = bytes_in(query, 0, columns::efs_data);
    return std::vector<std::uint8_t>(data.begin(), data.end());
  });
}

void efs_store::write(std::uint8_t subscription, const std::string& path,
                      protocol::byte_view data) {
  write_.use([&](SQLite::Statement& insert) {
    insert.bind(1, subscription);
    insert.bind(2, path);
    // A null pointer would not be an empty BLOB.
    insert.bindNoCopy(3, data.empty() ? "" : static_cast<const void*>(data.data()),
                      static_cast<int>(data.size()));
    insert.exec();
  });
}

bool efs_store::erase(std::uint8_t subscription, const std::string& path) {
  return erase_.use([&](SQLite::Statement& remove) {
    remove.bind(1, subscription);
    remove.bind(2, path);
    return remove.exec() != 0;
  });
}

void efs_store::for_each(
    std::uint8_t subscription,
    const std::function<void(std::string_view path, protocol::byte_view data)>& visit) {
  list_.use([&](SQLite::Statement& query) {
    query.bind(1, subscription);
    while (query.executeStep()) {
      visit(text_in(query, 0, columns::efs_path), bytes_in(query, 1, columns::efs_data));
    }
  });
}

}  // namespace sim
