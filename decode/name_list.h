// What --code, --event and --data-id take.
#pragma once

#include <string>

namespace decode {

/// A line for each log, event and record: the kind, the number, the name.
[[nodiscard]] std::string name_list();

}  // namespace decode
