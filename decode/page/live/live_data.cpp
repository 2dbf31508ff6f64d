#include "decode/page/live/live_data.h"

#include <algorithm>
#include <utility>

#include "decode/page/page_json.h"

namespace decode::page {

namespace {

using namespace std::chrono_literals;

/// Between two versions.
constexpr auto pace = 1s;
/// Of the newest versions, for browsers that are a little late. Later ones get everything again.
constexpr std::size_t most_changes = 8;

constexpr std::int64_t kept_time = 3'600'000;  // ms
/// Forgetting in larger steps costs less.
constexpr std::int64_t forgetting_step = 10'000;

live_data::event_text as_event(const char* name, const bucketed_json& all) {
  auto text = std::make_shared<std::string>("event: ");
  text->append(name).append("\ndata: ").append(text_of(all)).append("\n\n");
  return text;
}

}  // namespace

live_data::follower::follower(live_data& of) : data_(of) {
  const std::lock_guard held(of.mutex_);
  of.followers_.push_back(this);
}

live_data::follower::~follower() {
  const std::lock_guard held(data_.mutex_);
  std::erase(data_.followers_, this);
}

live_data::event_text live_data::follower::next(clock::time_point& due) {
  const std::lock_guard held(data_.mutex_);
  const auto now = clock::now();
  const bool follows = version_ == data_.version_ || data_.change_after(version_) != nullptr;
  if (data_.has_changed_ && (!follows || now >= data_.made_ + pace)) data_.make_version(now);
  due = data_.has_changed_ ? data_.made_ + pace : clock::time_point::max();
  if (version_ == data_.version_) return nullptr;
  if (auto change = data_.change_after(version_)) {
    ++version_;
    return change;
  }
  version_ = data_.version_;
  return data_.whole();
}

void live_data::note_change() {
  if (std::exchange(has_changed_, true)) return;
  for (const auto* const one : followers_) one->changed_.wake();
}

void live_data::set_head(page_head head) {
  const std::lock_guard held(mutex_);
  head_ = std::move(head);
}

void live_data::add(const live_batch& more, run_counts&& counts) {
  const std::lock_guard held(mutex_);
  if (more.starts_over) {
    all_.emplace(plan_);
    known_.reset();
    forgotten_ = INT64_MIN;
    touched_from_ = INT64_MAX;
    shown_ = {};
  }
  if (!more.time && more.seen.without_time == 0 && counts.packets == counts_.packets) return;
  counts_ = std::move(counts);
  all_->add(more.seen);
  if (more.time) {
    if (!known_) known_ = more.time;
    known_ = {std::min(known_->from, more.time->from), std::max(known_->to, more.time->to)};
    touched_from_ = std::min(touched_from_, more.time->from);
    if (known_->to - kept_time >= forgotten_ + forgetting_step) {
      forgotten_ = known_->to - kept_time;
      all_->forget_before(forgotten_);
      all_->fit_page();
    }
  }
  note_change();
}

void live_data::port_changed(bool is_open) {
  const std::lock_guard held(mutex_);
  if (!is_open) {
    ++port_losses_;
    all_->end_capture();
  }
  port_is_open_ = is_open;
  note_change();
}

std::optional<time_window> live_data::shown_time() const {
  if (!known_) return {};
  return time_window{std::max(known_->from, known_->to - kept_time), known_->to};
}

live_data::event_text live_data::change_after(std::uint64_t version) const {
  const auto found = std::ranges::find(changes_, version + 1, &change::version);
  return version == 0 || found == changes_.end() ? nullptr : found->text;
}

void live_data::make_version(clock::time_point now) {
  ++version_;
  made_ = now;
  has_changed_ = false;
  const bool is_followed =
      std::ranges::any_of(followers_, [](const follower* one) { return one->version_ != 0; });
  if (is_followed && shown_.has_same_charts(*all_)) {
    auto made = shown_.changes(*all_, counts_, touched_from_);
    add_time(made.json);
    changes_.push_back({version_, as_event("change", made)});
    if (changes_.size() > most_changes) changes_.pop_front();
  } else {
    changes_.clear();
  }
  shown_.take(*all_, counts_);
  touched_from_ = INT64_MAX;
}

void live_data::add_time(nlohmann::ordered_json& to) const {
  if (const auto time = shown_time()) {
    to["from"] = time->from;
    to["to"] = time->to;
  }
  to["port_is_open"] = port_is_open_;
  to["port_losses"] = port_losses_;
}

live_data::event_text live_data::whole() {
  if (auto made = whole_.lock(); made && whole_version_ == version_) return made;
  auto made = page_json(head_, shown_time(), *all_, counts_);
  auto& json = made.json;
  add_time(json);
  json["changes_first"] = all_->cells().changes_forgotten();
  json["marks_first"] = all_->marks().forgotten();
  for (std::size_t i = 0; const auto& [key, band] : all_->states()) {
    json["states"][i++]["first"] = band.forgotten();
  }
  auto text = as_event("whole", made);
  whole_ = text;
  whole_version_ = version_;
  return text;
}

}  // namespace decode::page
