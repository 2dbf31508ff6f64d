#include "modem_stats/record_table.h"

#include <algorithm>
#include <array>

#include "modem_stats/records/events.h"
#include "modem_stats/records/lte.h"
#include "modem_stats/records/nr5g_mac_rrc.h"
#include "modem_stats/records/nr5g_ml1_ll1.h"
#include "modem_stats/records/wcdma_gsm_ims.h"

namespace modem_stats {

namespace {

constexpr auto id_of = &record_schema::id;

constexpr auto table = [] {
  constexpr auto count = std::size(event_records) + std::size(lte_records) +
                         std::size(nr5g_mac_rrc_records) + std::size(nr5g_ml1_ll1_records) +
                         std::size(wcdma_gsm_ims_records);
  std::array<const record_schema*, count> all{};
  auto end = all.begin();
  end = std::copy(std::begin(event_records), std::end(event_records), end);
  end = std::copy(std::begin(lte_records), std::end(lte_records), end);
  end = std::copy(std::begin(nr5g_mac_rrc_records), std::end(nr5g_mac_rrc_records), end);
  end = std::copy(std::begin(nr5g_ml1_ll1_records), std::end(nr5g_ml1_ll1_records), end);
  std::copy(std::begin(wcdma_gsm_ims_records), std::end(wcdma_gsm_ims_records), end);
  std::ranges::sort(all, {}, id_of);
  return all;
}();
static_assert(std::ranges::adjacent_find(table, {}, id_of) == table.end(), "two records, one id");

}  // namespace

std::span<const record_schema* const> record_table() {
  return table;
}

const record_schema* find_record_schema(modem_stats_data_id_e_type id) {
  const auto at = std::ranges::lower_bound(table, id, {}, id_of);
  return at != table.end() && (*at)->id == id ? *at : nullptr;
}

}  // namespace modem_stats
