#pragma once

#include <string_view>

namespace host {

/// Writes the whole text to a file. False, with errno set, when that fails.
[[nodiscard]] bool write_all(int file, std::string_view text);

}  // namespace host
