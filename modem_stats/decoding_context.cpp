#include "modem_stats/decoding_context.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace modem_stats {

namespace {

class standard_output_sink final : public line_sink {
 public:
  void write(std::string_view text) override { std::fwrite(text.data(), 1, text.size(), stdout); }
};

}  // namespace

line_sink& standard_output() {
  static standard_output_sink sink;
  return sink;
}

decoding_context& this_context() {
  thread_local decoding_context context;
  return context;
}

void print_text(const char* format, ...) {
  line_sink* const lines = this_context().lines;
  if (lines == nullptr) return;
  va_list args;
  va_start(args, format);
  std::array<char, 1024> text;
  const int length = std::vsnprintf(text.data(), text.size(), format, args);
  va_end(args);
  if (length > 0) {
    lines->write({text.data(), std::min(static_cast<std::size_t>(length), text.size() - 1)});
  }
}

}  // namespace modem_stats
