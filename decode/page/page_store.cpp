#include "decode/page/page_store.h"

namespace decode::page {

namespace {

class page_writer final : public record_writer {
 public:
  page_writer(const extraction_plan& plan, drive& to) : plan_(plan), to_(to) {}

  void record(const packet_source& source, const modem_stats::record_schema& schema,
              const modem_stats::record_data& data) override {
    plan_.extract(source, schema, data, seen_);
  }
  void flush(const running_counts& /*late*/) override {
    to_.add(seen_);
    seen_.clear();
  }
  void clear() override { seen_.clear(); }

 private:
  const extraction_plan& plan_;
  drive& to_;
  observations seen_;
};

}  // namespace

std::unique_ptr<record_writer> page_store::make_writer(const std::string& /*file*/) {
  return std::make_unique<page_writer>(plan_, all_);
}

}  // namespace decode::page
