// The page without its data: "@data@" stands for these, "@connect@" for where it may connect to.
#pragma once

#include <string_view>

namespace decode::page {

[[nodiscard]] std::string_view page_template();

}  // namespace decode::page
