#include "simulator/modem/euicc_notes.h"

#include "simulator/modem/byte_strings.h"
#include "simulator/modem/columns.h"

namespace sim {

euicc_notes::euicc_notes(store& store)
    : text_(store, "SELECT text FROM euicc_texts WHERE iccid = ?"),
      set_text_(store,
                "INSERT INTO euicc_texts VALUES (?, ?) "
                "ON CONFLICT (iccid) DO UPDATE SET text = excluded.text"),
      erase_text_(store, "DELETE FROM euicc_texts WHERE iccid = ?"),
      add_(store, "INSERT INTO euicc_notifications (operation, iccid) VALUES (?, ?)"),
      trim_(store,
            "DELETE FROM euicc_notifications WHERE number <= "
            "(SELECT max(number) FROM euicc_notifications) - ?"),
      list_(store, "SELECT number, operation, iccid FROM euicc_notifications ORDER BY number"),
      remove_(store, "DELETE FROM euicc_notifications WHERE number = ?") {}

std::string euicc_notes::text(protocol::byte_view about) {
  return text_
      .first(
          [](SQLite::Statement& row) { return std::string(text_in(row, 0, columns::euicc_text)); },
          about)
      .value_or("");
}

void euicc_notes::set_text(protocol::byte_view about, std::string_view text) {
  if (text.empty()) {
    erase_text_.run(about);
  } else {
    set_text_.run(about, std::string(text));
  }
}

void euicc_notes::notify(profile_operation what, protocol::byte_view iccid) {
  add_.run(static_cast<std::int64_t>(what), iccid);
  trim_.run(most_notifications);
}

std::vector<profile_notification> euicc_notes::notifications() {
  std::vector<profile_notification> found;
  list_.each([&](SQLite::Statement& row) {
    found.push_back(
        {static_cast<std::uint32_t>(number_in(row, 0, columns::notification_number)),
         static_cast<profile_operation>(number_in(row, 1, columns::notification_operation)),
         copied(bytes_in(row, 2, columns::notification_iccid))});
  });
  return found;
}

bool euicc_notes::remove(std::uint32_t number) {
  return remove_.run(std::int64_t{number}) != 0;
}

}  // namespace sim
