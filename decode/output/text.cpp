// The parsers' own lines, optionally preceded by the packet's time and radio.
#include <fmt/format.h>

#include <algorithm>

#include "decode/output/file_output.h"
#include "decode/output/record_output.h"
#include "decode/output/time_text.h"

namespace decode {

namespace {

class text_lines final : public record_writer {
 public:
  text_lines(file_output& to, bool with_time) : to_(to), with_time_(with_time) {}

  void record(const packet_source& /*source*/, const modem_stats::record_schema& /*schema*/,
              const modem_stats::record_data& /*data*/) override {}

  void lines(const packet_source& source, std::string_view text) override {
    if (!with_time_) return text_.append(text);
    const auto front = fmt::format("{} {}: ", time_text(source.time), source.radio);
    while (!text.empty()) {
      const auto line = text.substr(0, std::min(text.find('\n'), text.size() - 1) + 1);
      text_.append(front);
      text_.append(line);
      text.remove_prefix(line.size());
    }
  }

  void flush() override {
    to_.write(text_.view());
    clear();
  }
  void clear() override { text_.clear(); }

 private:
  file_output& to_;
  const bool with_time_;
  text_buffer text_;
};

class text_lines_all final : public record_store {
 public:
  text_lines_all(file_output& to, bool with_time) : to_(to), with_time_(with_time) {}

  std::unique_ptr<record_writer> make_writer() override {
    return std::make_unique<text_lines>(to_, with_time_);
  }
  [[nodiscard]] bool wants_lines() const override { return true; }

 private:
  file_output& to_;
  bool with_time_;
};

class nothing final : public record_writer {
 public:
  void record(const packet_source& /*source*/, const modem_stats::record_schema& /*schema*/,
              const modem_stats::record_data& /*data*/) override {}
  void flush() override {}
  void clear() override {}
};

class nothing_at_all final : public record_store {
 public:
  std::unique_ptr<record_writer> make_writer() override { return std::make_unique<nothing>(); }
};

}  // namespace

std::unique_ptr<record_store> text_store(file_output& to, bool with_time) {
  return std::make_unique<text_lines_all>(to, with_time);
}

std::unique_ptr<record_store> no_store() {
  return std::make_unique<nothing_at_all>();
}

}  // namespace decode
