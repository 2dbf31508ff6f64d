// Writing whole texts to a file.
#pragma once

#include <string_view>

namespace decode {

/// Waits for room where there is none. Throws output_error, which names `name`.
void write_whole(int file, std::string_view name, std::string_view text);

/// Asked whenever a signal interrupts a write, which is given up with output_error when it says
/// true. Until this is called such writes go on.
void give_up_interrupted_writes(bool (*now)());

}  // namespace decode
