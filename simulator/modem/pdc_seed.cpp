#include <SQLiteCpp/Statement.h>

#include <cstdint>
#include <string_view>
#include <vector>

#include "simulator/modem/bind.h"
#include "simulator/modem/byte_strings.h"
#include "simulator/modem/seeds.h"

namespace sim {
namespace {

struct pdc_seed_row {
  std::uint32_t type;  ///< 0 platform, 1 software
  const char* id;
  const char* description;
  std::uint32_t version;
  bool is_active;
  std::string_view data;
};

constexpr pdc_seed_row configs[] = {
    {0, "5a 1f 03 c4 9e 77 20 8b d1 46 6c 0e f8 35 a9 12 e4 70 bb 5d", "Reference board",
     0x01000100, true,
     "platform=reference-board\n"
     "antennas=4\n"
     "tx_chains=2\n"},
    {1, "09 d2 7b 61 e8 34 af 50 1c 93 86 fd 2a 4e b7 05 c8 19 72 d6", "Generic", 0x02010001, true,
     "carrier=generic\n"
     "plmn=001-01\n"
     "ims=off\n"},
    {1, "41 c7 15 ea 92 0b 6d f3 88 2e 57 b4 09 da 63 fc 1e 70 a5 38", "Nordvik Mobile, commercial",
     0x02010A04, false,
     "carrier=nordvik\n"
     "plmn=001-02\n"
     "ims=on\n"
     "volte=on\n"
     "vonr=off\n"},
    {1, "7e 90 b3 2d 48 f1 0c 65 da 17 ae 82 39 54 cb 06 ef 6b 21 98",
     "Lumeria Telecom, commercial", 0x02010B02, false,
     "carrier=lumeria\n"
     "plmn=001-03\n"
     "ims=on\n"
     "volte=on\n"
     "vonr=on\n"},
    {1, "c5 3a 68 07 f2 bd 91 4e 20 dc 79 16 a8 e3 5f 84 0d 47 b6 fa", "Castelmar, laboratory",
     0x02017F00, false,
     "carrier=castelmar\n"
     "plmn=999-99\n"
     "ims=off\n"
     "logging=full\n"},
};

}  // namespace

void seed_pdc_configs(SQLite::Database& database) {
  SQLite::Statement insert(database,
                           "INSERT INTO pdc_configs "
                           "(type, id, description, version, is_active, data) "
                           "VALUES (?, ?, ?, ?, ?, ?)");
  for (const pdc_seed_row& row : configs) {
    insert_row(insert, row.type, bytes_of_hex(row.id), row.description, row.version,
               static_cast<int>(row.is_active), bytes_of(row.data));
  }
}

}  // namespace sim
