// Out-slots of a parser, or a step of one, that gives no record to its caller.
#pragma once

#include "modem_stats/record.h"

namespace modem_stats {

struct local_slots {
  modem_stats_data_id_e_type data_id = MODEM_STATS_DATA_ID_NONE;
  modem_stats_single_data_common_type* record = nullptr;

  local_slots() = default;
  local_slots(const local_slots&) = delete;
  local_slots& operator=(const local_slots&) = delete;
  ~local_slots() { modem_stats_free_single(record); }
};

}  // namespace modem_stats
