#include "decode/page/live/live_page.h"

#include <algorithm>
#include <utility>

#include "decode/messages.h"
#include "decode/output/beside.h"
#include "decode/page/extractor.h"
#include "decode/page/live/live_data.h"
#include "decode/page/live/page_server.h"
#include "decode/page/live/record_clock.h"
#include "decode/page/page_data.h"

namespace decode::page {

namespace {

class live_writer final : public writer_beside {
 public:
  live_writer(live_data& to, const summary& counts, std::unique_ptr<record_writer> other)
      : writer_beside(std::move(other)), to_(to), counts_(counts) {}

  void record(const packet_source& source, const modem_stats::record_schema& schema,
              const modem_stats::record_data& data) override {
    if (is_wanted(source.time)) to_.plan().extract(source, schema, data, batch_.seen);
    writer_beside::record(source, schema, data);
  }
  void message(const packet_source& source, const signalling::message& one) override {
    if (one.what.of == signalling::family::sip && is_wanted(source.time)) {
      extract_sip(source, one.bytes, batch_.seen);
    }
    writer_beside::message(source, one);
  }
  void flush(const running_counts& late) override {
    to_.add(batch_, counts_of(counts_));
    batch_.clear();
    writer_beside::flush(late);
  }
  void clear() override {
    batch_.clear();
    writer_beside::clear();
  }

 private:
  /// Notes the time. Records from before the modem knew it are wanted too: they are counted.
  bool is_wanted(std::int64_t microseconds) {
    if (microseconds < first_known_time) return true;
    const auto now = microseconds / 1000;
    const auto verdict = clock_.judge(now);
    if (verdict == record_clock::verdict::strange) return false;
    if (verdict == record_clock::verdict::set_back) {
      batch_.clear();
      batch_.starts_over = true;
    }
    auto& time = batch_.time;
    time = time ? time_window{std::min(time->from, now), std::max(time->to, now)}
                : time_window{now, now};
    return true;
  }

  live_data& to_;
  const summary& counts_;
  record_clock clock_;
  live_batch batch_;
};

class live_page final : public store_beside {
 public:
  live_page(std::unique_ptr<record_store> beside, const std::string& address, const summary& counts)
      : store_beside(std::move(beside)), counts_(counts), server_(address, data_) {}

  std::unique_ptr<record_writer> make_writer(const std::string& file) override {
    data_.set_head({.title = "Live: " + file, .inputs = {file}});
    return std::make_unique<live_writer>(data_, counts_, other_writer(file));
  }
  void port_changed(bool is_open) override {
    store_beside::port_changed(is_open);
    data_.port_changed(is_open);
    if (std::exchange(is_served_, true)) return;
    server_.serve();
    report("the page is at " + server_.url());
  }

 private:
  const summary& counts_;
  live_data data_;
  page_server server_;
  bool is_served_ = false;
};

}  // namespace

std::unique_ptr<record_store> live_page_store(std::unique_ptr<record_store> beside,
                                              const std::string& address, const summary& counts) {
  return std::make_unique<live_page>(std::move(beside), address, counts);
}

}  // namespace decode::page
