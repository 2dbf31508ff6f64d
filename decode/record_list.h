// The description of the records for the documentation.
#pragma once

#include <string>

namespace decode {

/// Markdown with a section for each kind of record, generated from the schemas.
[[nodiscard]] std::string record_list();

}  // namespace decode
