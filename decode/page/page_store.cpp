#include "decode/page/page_store.h"

#include <utility>

#include "decode/output/file_output.h"

namespace decode::page {

namespace {

class page_writer final : public record_writer {
 public:
  page_writer(const extraction_plan& plan, drive& to) : plan_(plan), to_(to) {}

  void record(const packet_source& source, const modem_stats::record_schema& schema,
              const modem_stats::record_data& data) override {
    plan_.extract(source, schema, data, seen_);
  }
  void message(const packet_source& source, const signalling::message& one) override {
    if (one.what.of == signalling::family::sip) extract_sip(source, one.bytes, seen_);
  }
  void flush(const running_counts& /*late*/) override {
    to_.add(seen_);
    clear();
  }
  void clear() override { seen_.clear(to_.wants_texts()); }

 private:
  const extraction_plan& plan_;
  drive& to_;
  observations seen_;
};

class page_file final : public record_store {
 public:
  page_file(file_output& to, page_head head) : to_(to), head_(std::move(head)) {}

  std::unique_ptr<record_writer> make_writer(const std::string& file) override {
    if (std::exchange(file_, file) != file) all_.end_capture();
    return std::make_unique<page_writer>(plan_, all_);
  }
  void finish(const summary& counts) override {
    all_.fit_page();
    to_.write(filled_page(page_data(head_, all_, counts)));
  }

 private:
  file_output& to_;
  page_head head_;
  std::string file_;
  extraction_plan plan_;
  drive all_{plan_};
};

}  // namespace

std::unique_ptr<record_store> html_store(file_output& to, page_head head) {
  return std::make_unique<page_file>(to, std::move(head));
}

}  // namespace decode::page
