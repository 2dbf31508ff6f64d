// JSON Schema of the lines of -f jsonl.
#pragma once

#include <string>

namespace decode {

[[nodiscard]] std::string json_schema();

}  // namespace decode
