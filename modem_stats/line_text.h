// A line that a decoder prints, formatted as printf would. Lines are most of what tvk-decode
// writes, and vsnprintf would take most of its time, so the conversions that lines consist of (%d,
// %u, %x, %ld, %lu, %s, %.2f) are done here, and only what else there may be by vsnprintf.
#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <string_view>

namespace modem_stats {

class line_text {
 public:
  /// Text beyond max_size is dropped.
  static constexpr std::size_t max_size = 1022;

  void add(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void add_args(const char* format, std::va_list args) __attribute__((format(printf, 2, 0)));

  [[nodiscard]] std::size_t size() const { return size_; }
  /// The text and a newline; nothing may be added after that.
  [[nodiscard]] std::string_view finished() {
    text_[size_] = '\n';
    return {text_.data(), size_ + 1};
  }

 private:
  std::size_t size_ = 0;
  std::array<char, max_size + 1> text_;
};

}  // namespace modem_stats
