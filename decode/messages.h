// What tvk-decode says of its own on standard error.
#pragma once

#include <string>
#include <string_view>

namespace decode {

/// A line under the program's name. Where standard error takes nothing, nobody could be told.
void tell(std::string_view text);
/// The same, but not again what was told so before.
void tell_once(const std::string& text);

/// Without name and newline.
void tell_as_is(std::string_view text);

}  // namespace decode
