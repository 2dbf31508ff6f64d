#include "simulator/modem/item_store.h"

#include <fmt/core.h>

#include "simulator/modem/byte_strings.h"
#include "simulator/modem/columns.h"

namespace sim {
namespace {

template <typename Key>
constexpr const column& key_column = columns::nv_id;
template <>
constexpr const column& key_column<std::string> = columns::efs_path;

template <typename Key>
constexpr const column& data_column = columns::nv_data;
template <>
constexpr const column& data_column<std::string> = columns::efs_data;

/// `{0}` is the table, `{1}` the key and `{2}` the data.
template <typename Key>
std::string sql(const char* form) {
  const column& key = key_column<Key>;
  return fmt::format(fmt::runtime(form), key.table, key.name, data_column<Key>.name);
}

}  // namespace

template <typename Key>
item_store<Key>::item_store(store& store)
    : read_(store, sql<Key>("SELECT {2} FROM {0} WHERE subscription = ? AND {1} = ?")),
      write_(store, sql<Key>("INSERT INTO {0} (subscription, {1}, {2}) VALUES (?, ?, ?) "
                             "ON CONFLICT (subscription, {1}) DO UPDATE SET {2} = excluded.{2}")),
      erase_(store, sql<Key>("DELETE FROM {0} WHERE subscription = ? AND {1} = ?")),
      list_(store, sql<Key>("SELECT {1}, {2} FROM {0} WHERE subscription = ? ORDER BY {1}")) {}

template <typename Key>
std::optional<std::vector<std::uint8_t>> item_store<Key>::read(std::uint8_t subscription,
                                                               const Key& key) {
  return read_.first(
      [&](SQLite::Statement& row) { return copied(bytes_in(row, 0, data_column<Key>)); },
      subscription, key);
}

template <typename Key>
void item_store<Key>::write(std::uint8_t subscription, const Key& key, protocol::byte_view data) {
  write_.run(subscription, key, data);
}

template <typename Key>
bool item_store<Key>::erase(std::uint8_t subscription, const Key& key) {
  return erase_.run(subscription, key) != 0;
}

template <typename Key>
void item_store<Key>::for_each(
    std::uint8_t subscription,
    const std::function<void(key_view key, protocol::byte_view data)>& visit) {
  list_.each(
      [&](SQLite::Statement& row) {
        const auto data = bytes_in(row, 1, data_column<Key>);
        if constexpr (std::integral<Key>) {
          visit(static_cast<Key>(number_in(row, 0, key_column<Key>)), data);
        } else {
          visit(text_in(row, 0, key_column<Key>), data);
        }
      },
      subscription);
}

template class item_store<std::uint16_t>;
template class item_store<std::string>;

}  // namespace sim
