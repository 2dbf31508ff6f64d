// The page without its data, for which "@data@" stands.
#pragma once

#include <string_view>

namespace decode::page {

[[nodiscard]] std::string_view page_template();

}  // namespace decode::page
