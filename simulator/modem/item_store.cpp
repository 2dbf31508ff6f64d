#include "simulator/modem/item_store.h"

#include <fmt/core.h>

namespace sim {
namespace {

/// `{0}` is the table, `{1}` the key and `{2}` the data.
std::string sql(const char* form, const column& key, const column& data) {
  return fmt::format(fmt::runtime(form), key.table, key.name, data.name);
}

}  // namespace

template <typename Key>
item_store<Key>::item_store(store& store, const column& key, const column& data)
    : key_(key),
      data_(data),
      read_(store, sql("SELECT {2} FROM {0} WHERE subscription = ? AND {1} = ?", key, data)),
      write_(store, sql("INSERT INTO {0} (subscription, {1}, {2}) VALUES (?, ?, ?) "
                        "ON CONFLICT (subscription, {1}) DO UPDATE SET {2} = excluded.{2}",
                        key, data)),
      erase_(store, sql("DELETE FROM {0} WHERE subscription = ? AND {1} = ?", key, data)),
      list_(store, sql("SELECT {1}, {2} FROM {0} WHERE subscription = ? ORDER BY {1}", key, data)) {
}

template <typename Key>
std::optional<std::vector<std::uint8_t>> item_store<Key>::read(std::uint8_t subscription,
                                                               const Key& key) {
  return read_.first([&](SQLite::Statement& row) { return copied(bytes_in(row, 0, data_)); },
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
        if constexpr (std::integral<Key>) {
          visit(static_cast<Key>(number_in(row, 0, key_)), bytes_in(row, 1, data_));
        } else {
          visit(text_in(row, 0, key_), bytes_in(row, 1, data_));
        }
      },
      subscription);
}

template class item_store<std::uint16_t>;
template class item_store<std::string>;

}  // namespace sim
