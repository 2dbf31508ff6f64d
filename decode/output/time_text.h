// Times as text, in ISO 8601: UTC with microseconds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace decode {

/// The length of "2016-03-23T21:55:49.316192Z", the same for all times.
constexpr std::size_t time_text_size = 27;

/// Writes times; fast because consecutive times usually fall into the same second.
class time_writer {
 public:
  /// Writes time_text_size characters.
  void write(std::int64_t unix_microseconds, char* out);

 private:
  std::int64_t second_ = INT64_MIN;
  char text_[time_text_size] = {};
};

[[nodiscard]] std::string time_text(std::int64_t unix_microseconds);

/// Parses "2016-03-23T21:55:49.316192Z" or any shorter form down to "2016-03-23", in UTC unless an
/// offset like "+02:00" follows. No value when the text is not a time.
[[nodiscard]] std::optional<std::int64_t> parse_time(std::string_view text);

}  // namespace decode
