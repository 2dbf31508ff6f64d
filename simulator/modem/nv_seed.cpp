#include <SQLiteCpp/Statement.h>

#include <algorithm>
#include <iterator>

#include "simulator/modem/bind.h"
#include "simulator/modem/byte_strings.h"
#include "simulator/modem/seeds.h"

namespace sim {
namespace {

struct nv_seed_row {
  std::uint16_t id;
  const char* name;
  const char* bytes;
  const char* bytes_of_subscription_1 = nullptr;  ///< null: the same
};

constexpr nv_seed_row items[] = {
    {0, "ESN", "00 00 00 80"},
    {5, "Slot cycle index", "02"},
    {10, "Mode preference", "00 04 00"},
    {32, "MIN1", "00 00 00 00 00 00 00 00 00"},
    {33, "MIN2", "00 00 00 00 00"},
    {71, "Banner", "54 56 4b 20 6d 6f 64 65 6d 00 00 00"},
    {82, "Lock code", "30 30 30 30"},
    {85, "Security code", "30 30 30 30 30 30"},
    {178, "Directory number", "00 30 30 30 30 30 30 30 31 30 31",
     "00 30 30 30 30 30 30 30 31 30 32"},
    {441, "Band preference", "00 ff ff"},
    {442, "Roaming preference", "00 ff 00"},
    {453, "FTM mode", "00"},
    // 001017001234569 and 001017001234577, in the digit order of a mobile identity.
    {550, "UE IMEI", "08 0a 10 10 07 10 32 54 96", "08 0a 10 10 07 10 32 54 77"},
    {562, "Hybrid preference", "01"},
    {848, "Acquisition order preference", "00 00 00"},
    {849, "Network selection mode preference", "00 00 00"},
    {850, "Service domain preference", "00 02 00"},
    {855, "RTRE configuration", "00"},
    {946, "Band preference, bits 16 to 31", "00 ff ff"},
    {1878, "RF hardware configuration", "2a"},
    {2954, "Band preference, bits 32 to 63", "00 ff ff ff ff"},
    {3446, "TRM configuration", "01 00"},
    {3649, "RRC integrity enabled", "01"},
    {3650, "RRC ciphering enabled", "01"},
    {4118, "HSDPA category", "18"},
    {4210, "HSUPA category", "06"},
    {4398, "UIM select default USIM application", "00"},
    {4399, "Detect hardware reset", "01"},
    {6828, "LTE band preference", "ff ff ff ff ff 0f 00 00"},
};
static_assert(std::ranges::is_sorted(items, {}, &nv_seed_row::id));

}  // namespace

const char* nv_item_name(std::uint16_t id) {
  const auto* const row = std::ranges::find(items, id, &nv_seed_row::id);
  return row == std::end(items) ? "" : row->name;
}

void seed_nv_items(SQLite::Database& database) {
  SQLite::Statement insert(database, "INSERT INTO nv_items VALUES (?, ?, ?)");
  for (const nv_seed_row& row : items) {
    for (const int subscription : {0, 1}) {
      const bool own = subscription == 1 && row.bytes_of_subscription_1 != nullptr;
      insert_row(insert, subscription, row.id,
                 bytes_of_hex(own ? row.bytes_of_subscription_1 : row.bytes));
    }
  }
}

}  // namespace sim
