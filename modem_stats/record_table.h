// The table of all kinds of records.
#pragma once

#include <span>

#include "modem_stats/record_schema.h"

namespace modem_stats {

/// In order of data ids.
[[nodiscard]] std::span<const record_schema* const> record_table();

/// Null for an unknown id.
[[nodiscard]] const record_schema* find_record_schema(modem_stats_data_id_e_type id);

}  // namespace modem_stats
