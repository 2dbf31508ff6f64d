// Suggests what a user may have meant by a name that does not exist.
#pragma once

#include <span>
#include <string_view>

namespace host {

/// The one of `names` that is nearest to `text`: at most every third character differs. Empty if
/// there is none.
[[nodiscard]] std::string_view near_name(std::string_view text,
                                         std::span<const std::string_view> names);

}  // namespace host
