// Times as text: ISO 8601, UTC, microseconds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace decode {

/// "2016-03-23T21:55:49.316192Z": always this many characters.
constexpr std::size_t time_text_size = 27;

/// Writes times of which neighbours share a second.
class time_writer {
 public:
  /// Writes time_text_size characters.
  void write(std::int64_t unix_microseconds, char* out);

 private:
  std::int64_t second_ = INT64_MIN;
  char text_[time_text_size] = {};
};

[[nodiscard]] std::string time_text(std::int64_t unix_microseconds);

/// Of "2016-03-23T21:55:49.316192Z" or any shorter form down to "2016-03-23"; UTC. Nothing when it
/// is no time.
[[nodiscard]] std::optional<std::int64_t> parse_time(std::string_view text);

}  // namespace decode
