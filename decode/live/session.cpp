#include "decode/live/session.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "decode/live/end_request.h"
#include "decode/live/masks.h"
#include "decode/live/save.h"
#include "decode/messages.h"
#include "decode/packet_stage.h"
#include "host/file_descriptor.h"
#include "platform/linux/diag/port.h"
#include "protocol/diag_answer.h"
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
/// For all answers after the end was asked for. Requests are sent even when it is over.
constexpr auto farewell_time = 400ms;

std::chrono::milliseconds time_to(clock::time_point until) {
  return std::chrono::ceil<std::chrono::milliseconds>(
      std::clamp<clock::duration>(until - clock::now(), 0s, longest_wait));
}

class session final : mask_port {
 public:
  session(const options& chosen, record_store& store, int output, summary& counts)
      : output_name_(chosen.output.empty() ? "standard output" : chosen.output),
        port_name_(chosen.live->empty() ? diag::named_port() : *chosen.live),
        output_(output),
        save_(chosen.save, chosen.force),
        writer_(store.make_writer()),
        counts_(counts),
        stage_(chosen.wanted, store.wants_lines(), {}, *writer_, counts),
        masks_(chosen.wanted, *this) {}

  bool run();

 private:
  enum class outcome : std::uint8_t { answered, timed_out, port_is_gone, is_ending };

  std::optional<diag_packet> ask(const diag_packet& request) override;
  [[nodiscard]] bool is_over() const override { return !port_.valid() || is_ending(); }

  [[nodiscard]] bool is_ending() const { return farewell_until_.has_value(); }
  void end();
  void fail(std::exception_ptr why);

  /// Takes what comes until `until`, an answer to `request` (which may be empty), or the end of
  /// port or session; one that ends already goes on to its answers.
  outcome receive(clock::time_point until, byte_view request);
  /// Waits for bytes of the port, or without a port. Notices the end. False when nothing came.
  bool wait(std::chrono::milliseconds time);
  /// True when the answer was among them.
  bool take(byte_view bytes, byte_view request);

  [[nodiscard]] bool open();
  void close();
  void reconnect();

  const std::string output_name_;
  const std::string port_name_;
  const int output_;
  save_file save_;
  const std::unique_ptr<record_writer> writer_;
  summary& counts_;
  packet_stage stage_;
  mask_changes masks_;
  file_descriptor port_;
  protocol::hdlc::deframer frames_;
  diag_packet answer_;
  std::optional<clock::time_point> farewell_until_;  // once it ends
  std::exception_ptr failure_;                       // nothing is written any more
};

bool session::open() {
  port_ = diag::open_port(port_name_);
  return port_.valid();
}

void session::close() {
  port_ = {};
  frames_.finish();
  add_losses(counts_, frames_.counts());
  frames_ = {};
}

void session::end() {
  if (!farewell_until_) farewell_until_ = clock::now() + farewell_time;
}

void session::fail(std::exception_ptr why) {
  if (!failure_) failure_ = std::move(why);
  end();
}

bool session::wait(std::chrono::milliseconds time) {
  std::array<pollfd, 2> waits{{{.fd = port_.get(), .events = POLLIN, .revents = 0},
                               {.fd = is_ending() ? -1 : output_, .events = 0, .revents = 0}}};
  const int ready = ::poll(waits.data(), waits.size(), static_cast<int>(time.count()));
  if (end_was_requested()) end();
  if (ready <= 0) return false;
  if (waits[1].revents != 0) {
    fail(std::make_exception_ptr(
        output_error(output_name_ + ": " + std::generic_category().message(EPIPE))));
  }
  return waits[0].revents != 0;
}

bool session::take(byte_view bytes, byte_view request) {
  bool answered = false;
  counts_.bytes += bytes.size();
  try {
    byte_view packet;
    for (byte_view rest = bytes; frames_.next(rest, packet);) {
      if (!answered && protocol::diag::is_answer(request, packet)) {
        answer_.assign(packet.begin(), packet.end());
        answered = true;
      }
      if (!failure_) stage_.packet(packet);
    }
    if (!failure_) {
      save_.write(bytes);
      writer_->flush();
    }
  } catch (...) {
    fail(std::current_exception());
  }
  return answered;
}

session::outcome session::receive(clock::time_point until, byte_view request) {
  std::array<std::uint8_t, 65536> buffer;
  const bool was_ending = is_ending();
  while (true) {
    const auto left = time_to(until);
    if (left == 0ms) return outcome::timed_out;
    const bool has_bytes = wait(left);
    if (is_ending() && !was_ending) return outcome::is_ending;
    if (!has_bytes) continue;
    const ssize_t got = ::read(port_.get(), buffer.data(), buffer.size());
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    if (got <= 0) {
      close();
      return outcome::port_is_gone;
    }
    if (take({buffer.data(), static_cast<std::size_t>(got)}, request)) return outcome::answered;
    if (is_ending() && !was_ending) return outcome::is_ending;
  }
}

std::optional<diag_packet> session::ask(const diag_packet& request) {
  if (!port_.valid()) return std::nullopt;
  std::vector<std::uint8_t> frame;
  protocol::hdlc::append_frame(frame, request);
  const auto until = clock::now() + answer_time;
  const auto until_now = [&] { return is_ending() ? std::min(until, *farewell_until_) : until; };
  if (!diag::write_all(port_.get(), frame, time_to(until_now()))) {
    close();
    return std::nullopt;
  }
  auto came = receive(until_now(), request);
  // What was asked is waited for, so that it is no answer to what is asked in the farewell.
  if (came == outcome::is_ending) came = receive(until_now(), request);
  if (came != outcome::answered) return std::nullopt;
  return answer_;
}

/// Returns when the port is back or the session ends.
void session::reconnect() {
  tell("the port is gone; waiting for it");
  while (!is_ending()) {
    wait(retry_time);
    if (is_ending() || !open()) continue;
    tell("the port is back");
    masks_.make();
    return;
  }
}

bool session::run() {
  if (!open()) return false;
  save_.open();
  masks_.make();
  while (!is_ending()) {
    if (port_.valid()) {
      receive(clock::time_point::max(), {});
    } else {
      reconnect();
    }
  }
  if (port_.valid()) {
    masks_.take_back();
    close();
  } else {
    tell("the port is gone; its masks could not be set as they were");
  }
  if (failure_) std::rethrow_exception(failure_);
  return true;
}

}  // namespace

bool decode_live(const options& chosen, record_store& store, int output, summary& counts) {
  listen_for_end_request();
  return session(chosen, store, output, counts).run();
}

}  // namespace decode
