// Binds values to the parameters of a statement, in their order.
#pragma once

#include <SQLiteCpp/Statement.h>

#include <concepts>

#include "protocol/bytes.h"

namespace sim {

/// An empty optional is NULL; bytes are a BLOB, which the statement does not copy.
template <typename Value>
void bind_value(SQLite::Statement& to, int place, const Value& value) {
  if constexpr (requires { value.has_value(); }) {
    if (value) {
      bind_value(to, place, *value);
    } else {
      to.bind(place);
    }
  } else if constexpr (std::convertible_to<const Value&, protocol::byte_view>) {
    const protocol::byte_view bytes = value;
    // A null pointer would not be an empty BLOB.
    to.bindNoCopy(place, bytes.empty() ? "" : static_cast<const void*>(bytes.data()),
                  static_cast<int>(bytes.size()));
  } else {
    to.bind(place, value);
  }
}

template <typename... Values>
void bind_all(SQLite::Statement& to, const Values&... values) {
  int place = 0;
  (bind_value(to, ++place, values), ...);
}

/// For a statement that inserts one row after another.
template <typename... Values>
void insert_row(SQLite::Statement& insert, const Values&... values) {
  bind_all(insert, values...);
  insert.exec();
  insert.reset();
}

}  // namespace sim
