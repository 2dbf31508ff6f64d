// The page without its data and its security policy, for which "@data@" and "@policy@" stand.
#pragma once

#include <string_view>

namespace decode::page {

[[nodiscard]] std::string_view page_template();

/// Names the only scripts and styles that may run, by their hashes.
[[nodiscard]] std::string_view page_policy();

}  // namespace decode::page
