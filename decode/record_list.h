// What the records hold, for documentation.
#pragma once

#include <string>

namespace decode {

/// A section for each kind of record, in Markdown, from the rows that records are written by.
[[nodiscard]] std::string record_list();

}  // namespace decode
