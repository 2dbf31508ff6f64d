// A record in words, for people: name=value, name=value.
#pragma once

#include <string>

#include "modem_stats/record_schema.h"

namespace decode {

/// Columns that are null are left out.
[[nodiscard]] std::string record_text(const modem_stats::record_schema& schema,
                                      const modem_stats::record_data& data);

}  // namespace decode
