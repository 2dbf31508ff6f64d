// What independent decoders made of the packets of the sample captures, and where a value that they
// give is ours by another name.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace captures {

/// The values that a decoder's lines print, by the name in front of them; the last one counts.
using printed_values = std::map<std::string, double>;
[[nodiscard]] printed_values values_in(const std::string& lines);

/// A value of theirs and the name under which ours is printed.
struct expectation {
  std::string name;
  double value;
  double tolerance;
};

/// Nothing where both sides have nothing in common. `decoder` is 'a', 'b' or 'c'.
[[nodiscard]] std::vector<expectation> expectations(char decoder, std::uint16_t code,
                                                    nlohmann::json decoded);

}  // namespace captures
