#pragma once

#include <string_view>

namespace host {

/// Writes every byte of the text to a file. False, with errno set, when one could not be written.
[[nodiscard]] bool write_all(int file, std::string_view text);

}  // namespace host
