#include "simulator/modem/column.h"

#include <SQLiteCpp/Column.h>
#include <fmt/core.h>
#include <sqlite3.h>

namespace sim {
namespace {

int type_of(column::kind holds) {
  switch (holds) {
    case column::kind::number:
      return SQLITE_INTEGER;
    case column::kind::text:
      return SQLITE_TEXT;
    case column::kind::bytes:
      break;
  }
  return SQLITE_BLOB;
}

std::string_view text_of(const SQLite::Column& value) {
  const char* const text = value.getText();
  return {text, static_cast<std::size_t>(value.getBytes())};
}

std::string words_of(const SQLite::Column& value) {
  if (value.isNull()) return "nothing";
  if (value.isBlob()) return fmt::format("{} bytes", value.getBytes());
  if (!value.isText()) return fmt::format("the number {}", value.getText());
  const std::string_view text = text_of(value);
  const bool has_zero = text.find('\0') != std::string_view::npos;
  return fmt::format("a text of {} bytes{}", text.size(), has_zero ? ", one of them zero" : "");
}

std::string words_of(const column& what) {
  const char* const words = what.holds == column::kind::number ? "a number from {} to {}"
                            : what.holds == column::kind::text ? "a text of {} to {} bytes"
                                                               : "{} to {} bytes";
  return fmt::format(fmt::runtime(words), what.least, what.most);
}

bool fits(const SQLite::Column& value, const column& what) {
  if (value.getType() != type_of(what.holds)) return false;
  const bool is_number = what.holds == column::kind::number;
  const std::int64_t size = is_number ? value.getInt64() : value.getBytes();
  if (size < what.least || size > what.most) return false;
  return what.holds != column::kind::text || text_of(value).find('\0') == std::string_view::npos;
}

}  // namespace

void check(SQLite::Statement& row, int at, const column& what) {
  const SQLite::Column value = row.getColumn(at);
  if (fits(value, what)) return;
  throw damage(fmt::format("{}.{} holds {}, expected {}", what.table, what.name, words_of(value),
                           words_of(what)));
}

std::int64_t number_in(SQLite::Statement& row, int at, const column& what) {
  check(row, at, what);
  return row.getColumn(at).getInt64();
}

std::string_view text_in(SQLite::Statement& row, int at, const column& what) {
  check(row, at, what);
  return text_of(row.getColumn(at));
}

protocol::byte_view bytes_in(SQLite::Statement& row, int at, const column& what) {
  check(row, at, what);
  const SQLite::Column value = row.getColumn(at);
  return {static_cast<const std::uint8_t*>(value.getBlob()),
          static_cast<std::size_t>(value.getBytes())};
}

}  // namespace sim
