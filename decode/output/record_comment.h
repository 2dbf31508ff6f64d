// Records as comments that people read.
#pragma once

#include <string>
#include <string_view>

#include "decode/output/record_output.h"
#include "modem_stats/record_schema.h"

namespace decode {

/// "TIME NAME: field=value, part=[{field=value}, {field=value}]", without values that were not
/// measured.
[[nodiscard]] std::string record_comment(const packet_source& source,
                                         const modem_stats::record_schema& schema,
                                         std::string_view bytes);

}  // namespace decode
