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
#include "host/byte_stream.h"
#include "host/endpoint.h"
#include "host/file_descriptor.h"
#include "host/uninterrupted.h"
#include "host/wait.h"
#include "host/write_all.h"
#include "protocol/diag_answer.h"
#include "protocol/diag_port.h"
#include "protocol/hdlc.h"

namespace decode {

namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;
using host::file_descriptor;
using protocol::byte_view;

constexpr auto answer_time = 2s;
constexpr auto retry_time = 500ms;
/// Limit for all answers while the session ends. Requests are sent even after that.
constexpr auto shutdown_time = 400ms;

class session final : mask_port {
 public:
  session(const options& chosen, record_store& store, int output, summary& counts)
      : output_name_(chosen.output.empty() ? "standard output" : chosen.output),
        port_name_(chosen.live->empty() ? host::chosen_endpoint(protocol::diag::port_variable,
                                                                protocol::diag::port_socket)
                                        : *chosen.live),
        output_(output),
        save_(chosen.save, chosen.force),
        store_(store),
        writer_(store.make_writer(port_name_)),
        counts_(counts),
        stage_(chosen.wanted, store.wants_lines(), {}, *writer_, counts),
        masks_(chosen.wanted, *this) {}

  bool run();

 private:
  enum class outcome : std::uint8_t { answered, timed_out, port_is_gone, is_ending };

  std::optional<diag_packet> ask(const diag_packet& request) override;
  [[nodiscard]] bool is_over() const override { return !port_.valid() || is_ending(); }

  [[nodiscard]] bool is_ending() const { return shutdown_until_.has_value(); }
  void end();
  void fail(std::exception_ptr why);

  /// Receives and decodes until the time is up, the answer to `request` (which may be empty)
  /// arrives, the port is lost, or the session starts to end. While the session is ending it only
  /// receives answers to its own requests.
  outcome receive(clock::time_point until, byte_view request);
  /// Waits for bytes from the port, if there is one, or for a request to end the session. False
  /// when there are no bytes.
  bool wait(clock::time_point until);
  /// Decodes received bytes. True when the answer to `request` was among them.
  bool handle(byte_view bytes, byte_view request);

  [[nodiscard]] bool open();
  void close();
  void reconnect();

  const std::string output_name_;
  const std::string port_name_;
  const int output_;
  save_file save_;
  record_store& store_;
  const std::unique_ptr<record_writer> writer_;
  summary& counts_;
  packet_stage stage_;
  mask_changes masks_;
  file_descriptor port_;
  protocol::hdlc::deframer frames_;
  protocol::diag::framing framing_;
  diag_packet answer_;
  std::optional<clock::time_point> shutdown_until_;  // set once the session is ending
  std::exception_ptr failure_;                       // once set, nothing more is written
};

bool session::open() {
  host::opened_stream opened = host::open_byte_stream(port_name_);
  port_ = std::move(opened.file);
  framing_ = protocol::diag::framing(opened.keeps_packets);
  if (port_.valid()) return true;
  report_once(protocol::diag::unusable_port(port_name_, opened.error, host::byte_stream_forms));
  return false;
}

void session::close() {
  port_ = {};
  frames_.finish();
  add_losses(counts_, frames_.counts());
  frames_ = {};
  stage_.restart();
  counts_.end_capture();
}

void session::end() {
  if (!shutdown_until_) shutdown_until_ = clock::now() + shutdown_time;
}

void session::fail(std::exception_ptr why) {
  if (!failure_) failure_ = std::move(why);
  end();
}

bool session::wait(clock::time_point until) {
  std::array<pollfd, 2> waits{{{.fd = port_.get(), .events = POLLIN, .revents = 0},
                               {.fd = is_ending() ? -1 : output_, .events = 0, .revents = 0}}};
  const int ready = ::poll(waits.data(), waits.size(), host::poll_timeout(until));
  if (end_was_requested()) end();
  if (ready <= 0) return false;
  if (waits[1].revents != 0) {
    fail(std::make_exception_ptr(
        output_error(output_name_ + ": " + std::generic_category().message(EPIPE))));
  }
  return waits[0].revents != 0;
}

bool session::handle(byte_view bytes, byte_view request) {
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
      writer_->flush({});
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
    if (clock::now() >= until) return outcome::timed_out;
    const bool has_bytes = wait(until);
    if (is_ending() && !was_ending) return outcome::is_ending;
    if (!has_bytes) continue;
    const ssize_t got =
        host::uninterrupted([&] { return ::read(port_.get(), buffer.data(), buffer.size()); });
    if (got < 0 && errno == EAGAIN) continue;
    if (got <= 0) {
      close();
      return outcome::port_is_gone;
    }
    const auto frames = framing_.as_frames({buffer.data(), static_cast<std::size_t>(got)});
    if (handle(frames, request)) return outcome::answered;
    if (is_ending() && !was_ending) return outcome::is_ending;
  }
}

std::optional<diag_packet> session::ask(const diag_packet& request) {
  if (!port_.valid()) return std::nullopt;
  const auto until = clock::now() + answer_time;
  const auto limit = [&] { return is_ending() ? std::min(until, *shutdown_until_) : until; };
  if (!host::send_all(port_.get(), framing_.to_write(request), limit() - clock::now())) {
    close();
    return std::nullopt;
  }
  auto came = receive(limit(), request);
  // If the session starts to end, still wait for this answer, so that it cannot be mistaken for the
  // answer to a request that restores a mask.
  if (came == outcome::is_ending) came = receive(limit(), request);
  if (came != outcome::answered) return std::nullopt;
  return answer_;
}

/// Returns when the port is back or the session ends.
void session::reconnect() {
  report("the port is lost; waiting for it");
  store_.port_changed(false);
  while (!is_ending()) {
    wait(clock::now() + retry_time);
    if (is_ending() || !open()) continue;
    report("the port is back");
    store_.port_changed(true);
    masks_.apply();
    return;
  }
}

bool session::run() {
  if (!open()) return false;
  save_.open();
  store_.port_changed(true);
  masks_.apply();
  while (!is_ending()) {
    if (port_.valid()) {
      receive(clock::time_point::max(), {});
    } else {
      reconnect();
    }
  }
  if (port_.valid()) {
    masks_.restore();
    close();
  } else {
    report("the port is lost; its masks could not be restored");
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
