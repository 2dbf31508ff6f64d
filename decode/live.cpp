#include "decode/live.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <system_error>

#include "decode/diag_masks.h"
#include "decode/output/file_output.h"
#include "decode/packet_stage.h"
#include "host/file_descriptor.h"
#include "platform/linux/diag/port.h"
#include "protocol/hdlc.h"

namespace decode {

namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;
using host::file_descriptor;
using protocol::byte_view;

constexpr auto answer_time = 2s;
constexpr auto retry_time = 500ms;
constexpr auto longest_wait = 60s;
constexpr std::uint32_t default_event_bits = 4096;

void tell(const std::string& text) {
  fmt::print(stderr, "tvk-decode: {}\n", text);
}

/// SIGINT and SIGTERM as something to wait for.
class end_signal {
 public:
  end_signal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    file_ = file_descriptor(::signalfd(-1, &signals, SFD_CLOEXEC));
  }

  [[nodiscard]] int file() const { return file_.get(); }

  /// True when it came within `time`.
  [[nodiscard]] bool wait(clock::duration time) const {
    pollfd one{.fd = file_.get(), .events = POLLIN, .revents = 0};
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(time).count();
    return ::poll(&one, 1, static_cast<int>(milliseconds)) > 0;
  }

 private:
  file_descriptor file_;
};

file_descriptor open_save(const std::string& path) {
  if (path.empty()) return {};
  file_descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (!file.valid()) {
    throw output_error(fmt::format("{}: {}", path, std::generic_category().message(errno)));
  }
  return file;
}

/// What was in force before a session asked for more.
struct earlier_masks {
  std::vector<std::pair<unsigned, bit_mask>> logs;  // by equipment
  std::optional<bit_mask> events;
};

class session {
 public:
  session(const options& chosen, record_store& store, summary& counts)
      : chosen_(chosen),
        save_(open_save(chosen.save)),
        writer_(store.make_writer()),
        counts_(counts),
        stage_(chosen.wanted, store.wants_lines(), {}, *writer_, counts) {}

  bool run();

 private:
  enum class step : std::uint8_t { received, timed_out, gone, ended };

  /// Takes what comes until `until`; stops early at an answer to `request`.
  step receive(clock::time_point until, byte_view request);
  [[nodiscard]] std::optional<diag_packet> ask(const diag_packet& request);

  [[nodiscard]] bool open();
  void set_log_masks();
  void set_events();
  void restore_masks();
  void close();
  [[nodiscard]] bool reconnect();

  const options& chosen_;
  const end_signal end_;
  const file_descriptor save_;
  const std::unique_ptr<record_writer> writer_;
  summary& counts_;
  packet_stage stage_;
  file_descriptor port_;
  protocol::hdlc::deframer frames_;
  earlier_masks earlier_;
  diag_packet answer_;
  bool ending_ = false;
};

bool session::open() {
  port_ = diag::open_port(chosen_.live->empty() ? diag::named_port() : *chosen_.live);
  return port_.valid();
}

void session::close() {
  port_ = {};
  frames_.finish();
  add_losses(counts_, frames_.counts());
  frames_ = {};
}

session::step session::receive(clock::time_point until, byte_view request) {
  std::array<pollfd, 2> waits{{{.fd = port_.get(), .events = POLLIN, .revents = 0},
                               {.fd = end_.file(), .events = POLLIN, .revents = 0}}};
  // An end that was asked for ends no farewell.
  const nfds_t count = ending_ ? 1 : 2;
  while (true) {
    const auto now = clock::now();
    if (now >= until) return step::timed_out;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        std::min<clock::duration>(until - now, longest_wait));
    if (::poll(waits.data(), count, static_cast<int>(left.count())) <= 0) continue;
    if (count == 2 && waits[1].revents != 0) {
      ending_ = true;
      return step::ended;
    }
    std::array<std::uint8_t, 65536> buffer;
    const ssize_t got = ::read(port_.get(), buffer.data(), buffer.size());
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    if (got <= 0) return step::gone;
    byte_view bytes(buffer.data(), static_cast<std::size_t>(got));
    counts_.bytes += bytes.size();
    if (save_.valid()) {
      write_whole(save_.get(), chosen_.save,
                  {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
    bool answered = false;
    byte_view packet;
    while (frames_.next(bytes, packet)) {
      if (!request.empty() && !answered && is_answer(packet, request)) {
        answer_.assign(packet.begin(), packet.end());
        answered = true;
      }
      stage_.packet(packet);
    }
    writer_->flush();
    if (answered) return step::received;
  }
}

/// Nothing when there is no answer in time.
std::optional<diag_packet> session::ask(const diag_packet& request) {
  std::vector<std::uint8_t> frame;
  protocol::hdlc::append_frame(frame, request);
  if (!diag::write_all(port_.get(), frame)) return std::nullopt;
  const auto until = clock::now() + answer_time;
  auto came = receive(until, request);
  // The end waits for the answer, so that what was asked for can be taken back.
  if (came == step::ended) came = receive(until, request);
  if (came != step::received) return std::nullopt;
  return answer_;
}

void session::set_log_masks() {
  const auto ranges_answer = ask(get_log_ranges());
  const auto ranges = ranges_answer ? log_ranges(*ranges_answer) : std::nullopt;
  if (!ranges) {
    tell("the port does not tell which logs it has; they come if they are on already");
    return;
  }
  for (unsigned equipment = 0; equipment < num_equipments; ++equipment) {
    bit_mask ours = empty_mask((*ranges)[equipment]);
    bool any = false;
    for (std::size_t item = 0; item < ours.bits; ++item) {
      if (!chosen_.wanted.logs[equipment << 12 | item]) continue;
      ours.set(item);
      any = true;
    }
    if (!any) continue;
    const auto before_answer = ask(get_log_mask(equipment));
    const auto before = before_answer ? log_mask(*before_answer) : std::nullopt;
    earlier_.logs.emplace_back(equipment, before.value_or(empty_mask(ours.bits)));
    if (before) ours.add(*before);
    const auto set = ask(set_log_mask(equipment, ours));
    if (!set || !is_done(*set)) {
      tell(fmt::format("the port refuses to send the logs 0x{:X}000 to 0x{:X}FFF", equipment,
                       equipment));
    }
  }
}

void session::set_events() {
  if (chosen_.wanted.events.none()) return;
  const auto before_answer = ask(get_event_mask());
  const auto before = before_answer ? event_mask(*before_answer) : std::nullopt;
  bit_mask ours = empty_mask(before ? before->bits : default_event_bits);
  earlier_.events = before.value_or(ours);
  for (std::size_t id = 0; id < ours.bits; ++id) {
    if (chosen_.wanted.events[id]) ours.set(id);
  }
  if (before) ours.add(*before);
  const auto set = ask(set_event_mask(ours));
  if (!set || !is_done(*set) || !ask(report_events(true))) tell("the port refuses to send events");
}

/// Whether the port reported events before cannot be asked: they are off afterwards.
void session::restore_masks() {
  for (const auto& [equipment, mask] : earlier_.logs) (void)ask(set_log_mask(equipment, mask));
  if (earlier_.events) {
    (void)ask(report_events(false));
    (void)ask(set_event_mask(*earlier_.events));
  }
  earlier_ = {};
}

/// False when the end came first.
bool session::reconnect() {
  tell("the port is gone; waiting for it");
  while (!end_.wait(retry_time)) {
    if (!open()) continue;
    tell("the port is back");
    set_log_masks();
    set_events();
    return !ending_;
  }
  return false;
}

bool session::run() {
  if (!open()) return false;
  set_log_masks();
  set_events();
  while (!ending_) {
    if (receive(clock::time_point::max(), {}) == step::gone) {
      earlier_ = {};
      close();
      if (!reconnect()) break;
    }
  }
  ending_ = true;
  if (port_.valid()) {
    restore_masks();
    close();
  }
  return true;
}

}  // namespace

bool decode_live(const options& chosen, record_store& store, summary& counts) {
  return session(chosen, store, counts).run();
}

}  // namespace decode
