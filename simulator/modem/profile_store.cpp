#include "simulator/modem/profile_store.h"

#include <fmt/core.h>

#include <algorithm>

#include "simulator/modem/bind.h"
#include "simulator/modem/byte_strings.h"
#include "simulator/modem/columns.h"
#include "simulator/modem/seeds.h"

namespace sim {
namespace {

struct profile_seed_row {
  const char* isdp_aid;
  const char* iccid;
  int enabled;
  const char* provider;
  const char* name;
};

// 8900101000000000019 and 8900101000000000027: of the test network 001 01.
constexpr profile_seed_row seed[] = {
    {"a0 00 00 05 59 10 10 ff ff ff ff 89 00 00 10 00", "98 00 01 01 00 00 00 00 10 f9", 1,
     "Brightwater Mobile", "Brightwater Home"},
    {"a0 00 00 05 59 10 10 ff ff ff ff 89 00 00 11 00", "98 00 01 01 00 00 00 00 20 f7", 0,
     "Fernhill Telecom", "Fernhill Travel"},
};

}  // namespace

profile_store::profile_store(store& store)
    : list_(store,
            "SELECT isdp_aid, iccid, enabled, provider, name FROM euicc_profiles "
            "ORDER BY isdp_aid"),
      enable_(store, "UPDATE euicc_profiles SET enabled = (isdp_aid IS ?)"),
      erase_(store, "DELETE FROM euicc_profiles WHERE isdp_aid = ?"),
      erase_all_(store, "DELETE FROM euicc_profiles") {}

std::vector<profile> profile_store::all() {
  std::vector<profile> found;
  list_.each([&](SQLite::Statement& row) {
    found.push_back({copied(bytes_in(row, 0, columns::profile_aid)),
                     copied(bytes_in(row, 1, columns::profile_iccid)),
                     number_in(row, 2, columns::profile_enabled) != 0,
                     std::string(text_in(row, 3, columns::profile_provider)),
                     std::string(text_in(row, 4, columns::profile_name))});
    // A list of more would not fit into the answer to one command.
    if (found.size() > most_profiles) {
      throw damage(fmt::format("euicc_profiles has more than {} rows", most_profiles));
    }
  });
  return found;
}

std::optional<profile> profile_store::enabled() {
  auto profiles = all();
  const auto found = std::ranges::find(profiles, true, &profile::enabled);
  if (found == profiles.end()) return std::nullopt;
  return std::move(*found);
}

void profile_store::enable_only(protocol::byte_view isdp_aid) {
  enable_.run(isdp_aid);
}

void profile_store::erase(protocol::byte_view isdp_aid) {
  erase_.run(isdp_aid);
}

int profile_store::erase_all() {
  return erase_all_.run();
}

void seed_profiles(SQLite::Database& database) {
  SQLite::Statement insert(database, "INSERT INTO euicc_profiles VALUES (?, ?, ?, ?, ?)");
  for (const profile_seed_row& row : seed) {
    insert_row(insert, bytes_of_hex(row.isdp_aid), bytes_of_hex(row.iccid), row.enabled,
               row.provider, row.name);
  }
}

}  // namespace sim
