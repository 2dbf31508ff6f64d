// What the live page shows, in numbered versions: a browser gets everything at first, and then what
// changed from version to version. Decoding only adds to it. A new version is made when a browser
// is there to take it, at most once a second, and all browsers share its text.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "decode/page/drive.h"
#include "decode/page/live/shown_state.h"
#include "decode/page/page_data.h"
#include "host/wake_event.h"

namespace decode::page {

/// Records of the same reading of the port, and the times between which they are.
struct live_batch {
  bool starts_over = false;  // the clock was set back: nothing before counts
  std::optional<time_window> time{};
  observations seen{};

  void clear() {
    starts_over = false;
    time.reset();
    seen.clear(true);
  }
};

class live_data {
 public:
  using clock = std::chrono::steady_clock;
  using event_text = std::shared_ptr<const std::string>;

  live_data() = default;
  live_data(const live_data&) = delete;
  live_data& operator=(const live_data&) = delete;
  ~live_data() = default;

  [[nodiscard]] const extraction_plan& plan() const { return plan_; }

  void set_head(page_head head);
  void add(const live_batch& more, run_counts&& counts);
  void port_changed(bool is_open);

  /// A browser's place in the versions. Woken when there is a change after its version.
  class follower {
   public:
    explicit follower(live_data& of);
    follower(const follower&) = delete;
    follower& operator=(const follower&) = delete;
    ~follower();

    [[nodiscard]] const host::wake_event& changed() const { return changed_; }
    /// The next event for it, or none: then there is none before `due`.
    [[nodiscard]] event_text next(clock::time_point& due);

   private:
    friend class live_data;

    live_data& data_;
    host::wake_event changed_;
    std::uint64_t version_ = 0;  // 0: it has nothing yet
  };

 private:
  struct change {
    std::uint64_t version;
    event_text text;
  };

  void note_change();
  void make_version(clock::time_point now);
  [[nodiscard]] event_text change_after(std::uint64_t version) const;
  [[nodiscard]] event_text whole();
  void add_time(nlohmann::ordered_json& to) const;
  [[nodiscard]] std::optional<time_window> shown_time() const;

  const extraction_plan plan_;

  std::mutex mutex_;  // for all that follows
  page_head head_;
  std::optional<drive> all_{plan_};
  run_counts counts_;
  bool port_is_open_ = true;
  std::uint64_t port_losses_ = 0;
  std::optional<time_window> known_;       // of all records since the start
  std::int64_t forgotten_ = INT64_MIN;     // what is older is forgotten
  bool has_changed_ = false;               // since the last version
  std::int64_t touched_from_ = INT64_MAX;  // what is older has not changed since then
  std::uint64_t version_ = 1;
  clock::time_point made_{};    // the last version
  shown_state shown_;           // in the last version
  std::deque<change> changes_;  // that led to the last versions
  std::weak_ptr<const std::string> whole_;
  std::uint64_t whole_version_ = 0;
  std::vector<follower*> followers_;
};

}  // namespace decode::page
