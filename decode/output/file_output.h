// Writing whole texts to a file.
#pragma once

#include <string_view>

namespace decode {

/// Throws output_error, which names `name`.
void write_whole(int file, std::string_view name, std::string_view text);

}  // namespace decode
