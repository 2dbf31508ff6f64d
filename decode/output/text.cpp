// The parsers' own lines, optionally preceded by the packet's time and radio.
#include <charconv>

#include "decode/output/file_output.h"
#include "decode/output/numbered_text.h"
#include "decode/output/record_output.h"
#include "decode/output/time_text.h"

namespace decode {

namespace {

class text_lines final : public record_writer {
 public:
  text_lines(file_output& to, bool with_time) : to_(to), with_time_(with_time) {}

  void record(const packet_source& /*source*/, const modem_stats::record_schema& /*schema*/,
              const modem_stats::record_data& /*data*/) override {}

  void line(const packet_source& source, std::string_view text) override {
    if (with_time_) put_time(source);
    text_.text().append(text);
  }

  void counted_line(const packet_source& source, std::string_view text,
                    std::size_t count_at) override {
    if (with_time_) put_time(source);
    text_.note_number(text_.text().view().size() + count_at);
    text_.text().append(text);
  }

  void flush(const running_counts& late) override {
    text_.flush(late.rejections, [&](std::string_view text) { to_.write(text); });
  }
  void clear() override { text_.clear(); }

 private:
  void put_time(const packet_source& source) {
    auto& text = text_.text();
    char* out = text.room(time_text_size + 16);
    times_.write(source.time, out);
    out += time_text_size;
    *out++ = ' ';
    out = std::to_chars(out, out + 10, source.radio).ptr;
    *out++ = ':';
    *out++ = ' ';
    text.commit(out);
  }

  file_output& to_;
  const bool with_time_;
  time_writer times_;
  numbered_text text_;
};

class text_lines_all final : public record_store {
 public:
  text_lines_all(file_output& to, bool with_time) : to_(to), with_time_(with_time) {}

  std::unique_ptr<record_writer> make_writer(const std::string& /*file*/) override {
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
  void flush(const running_counts& /*late*/) override {}
  void clear() override {}
};

class nothing_at_all final : public record_store {
 public:
  std::unique_ptr<record_writer> make_writer(const std::string& /*file*/) override {
    return std::make_unique<nothing>();
  }
};

}  // namespace

std::unique_ptr<record_store> text_store(file_output& to, bool with_time) {
  return std::make_unique<text_lines_all>(to, with_time);
}

std::unique_ptr<record_store> no_store() {
  return std::make_unique<nothing_at_all>();
}

}  // namespace decode
