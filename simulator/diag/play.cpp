#include "simulator/diag/play.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "host/file_descriptor.h"
#include "host/uninterrupted.h"
#include "protocol/hdlc.h"
#include "simulator/failure.h"

namespace sim::diag {
namespace {

namespace wire = protocol::diag;
using protocol::byte_view;
using std::chrono::microseconds;

// Captures are put together from pieces, and phones set their clocks: a reader need not wait for
// it.
constexpr std::chrono::seconds longest_gap{10};
constexpr microseconds second = std::chrono::seconds(1);

constexpr std::size_t log_time_at = 8;
constexpr std::size_t report_header_size = 3;

[[noreturn]] void fail(const std::string& path, const std::string& reason) {
  throw failure("cannot read " + path + ": " + reason);
}

/// Calls `take` with everything in a file or from a pipe, piece by piece.
template <typename Take>
void read_file(const std::string& path, Take take) {
  using std::filesystem::file_type;
  std::error_code missing;
  const auto type = std::filesystem::status(path, missing).type();
  if (missing) fail(path, missing.message());
  // A device may have no end.
  if (type != file_type::regular && type != file_type::fifo) {
    fail(path, "it is neither a file nor a pipe");
  }
  const host::file_descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  std::array<std::uint8_t, 65536> buffer{};
  ssize_t size = file.valid() ? 1 : -1;
  while (size > 0) {
    size = host::uninterrupted([&] { return ::read(file.get(), buffer.data(), buffer.size()); });
    if (size > 0) take(byte_view(buffer).first(static_cast<std::size_t>(size)));
  }
  if (size < 0) fail(path, std::strerror(errno));
}

/// The time of a log packet or of a report's first event; nothing for everything else.
std::optional<wire::time_stamp> time_of(byte_view packet) {
  const auto inner = wire::unwrap_radio(packet);
  if (!inner || inner->packet.empty()) return std::nullopt;
  if (const auto log = wire::parse_log(inner->packet)) return log->time;
  if (inner->packet[0] != wire::event_code) return std::nullopt;
  const auto first = wire::event_reader(inner->packet).next();
  return first ? std::optional(first->time) : std::nullopt;
}

/// The same packet, later by `shift`; events then have full times.
std::vector<std::uint8_t> moved(byte_view packet, microseconds shift) {
  const auto later = [&](wire::time_stamp time) {
    return wire::from_unix_microseconds(wire::to_unix_microseconds(time) + shift.count());
  };
  const byte_view inner = wire::unwrap_radio(packet)->packet;
  std::vector<std::uint8_t> out(packet.begin(), packet.end());
  const std::size_t head = packet.size() - inner.size();
  if (const auto log = wire::parse_log(inner)) {
    protocol::store_le(later(log->time), std::span(out).subspan(head + log_time_at));
    return out;
  }
  out.resize(head + report_header_size);
  wire::event_reader events(inner);
  while (auto one = events.next()) {
    one->time = later(one->time);
    const auto alone = wire::build_event_report(*one);
    out.insert(out.end(), alone.begin() + report_header_size, alone.end());
  }
  protocol::store_le(static_cast<std::uint16_t>(out.size() - head - report_header_size),
                     std::span(out).subspan(head + 1));
  return out;
}

}  // namespace

class capture_cursor : public cursor {
 public:
  explicit capture_cursor(const capture& of) : capture_(of) {}

  std::optional<microseconds> due() override {
    if (next_ == capture_.entries_.size()) return std::nullopt;
    if (!capture_.rate_) return capture_.entries_[next_].due;
    return *capture_.rate_ == 0 ? microseconds(0)
                                : static_cast<std::int64_t>(next_) * second / *capture_.rate_;
  }

  byte_view take() override {
    const auto& entry = capture_.entries_[next_++];
    const byte_view packet = byte_view(capture_.bytes_).subspan(entry.at, entry.size);
    if (!capture_.now_) return packet;
    const auto now = std::chrono::duration_cast<microseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    moved_ = moved(packet, now - microseconds(wire::to_unix_microseconds(*time_of(packet))));
    return moved_;
  }

 private:
  const capture& capture_;
  std::size_t next_ = 0;
  std::vector<std::uint8_t> moved_;
};

capture::capture(const play_options& options) : rate_(options.rate), now_(options.now) {
  protocol::hdlc::deframer frames;
  read_file(options.file, [&](byte_view rest) {
    byte_view packet;
    while (frames.next(rest, packet)) add(packet);
  });
  if (entries_.empty()) {
    throw failure(options.file + " has no log packet or event in HDLC frames");
  }
}

void capture::add(byte_view packet) {
  const auto stamp = time_of(packet);
  if (!stamp) return;
  const std::int64_t time = wire::to_unix_microseconds(*stamp);
  const microseconds before = entries_.empty() ? microseconds(0) : entries_.back().due;
  const microseconds gap = entries_.empty() ? microseconds(0) : microseconds(time - last_time_);
  last_time_ = time;
  entries_.push_back({bytes_.size(), packet.size(),
                      before + std::clamp<microseconds>(gap, microseconds(0), longest_gap)});
  const std::size_t at = bytes_.size();
  bytes_.resize(at + packet.size());
  std::ranges::copy(packet, bytes_.begin() + static_cast<std::ptrdiff_t>(at));
}

std::unique_ptr<cursor> capture::begin() const {
  return std::make_unique<capture_cursor>(*this);
}

}  // namespace sim::diag
