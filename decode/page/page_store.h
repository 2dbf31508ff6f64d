// The HTML page as an output format: gathers what records say and writes the page at the end.
#pragma once

#include <memory>

#include "decode/output/record_output.h"
#include "decode/page/page_data.h"

namespace decode::page {

[[nodiscard]] std::unique_ptr<record_store> html_store(file_output& to, page_head head);

}  // namespace decode::page
