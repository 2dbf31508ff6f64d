#include "platform/linux/diag/connection.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "host/byte_stream.h"
#include "host/endpoint.h"
#include "host/uninterrupted.h"
#include "host/write_all.h"
#include "platform/linux/report.h"
#include "protocol/diag_answer.h"
#include "protocol/diag_port.h"
#include "protocol/hdlc.h"
#include "protocol/log_packet.h"

namespace diag {
namespace {

namespace wire = protocol::diag;

/// The oldest request is dropped beyond this: a modem may leave requests unanswered.
constexpr std::size_t max_waiting = 32;

constexpr std::size_t read_size = std::size_t{1} << 16;

constexpr std::chrono::seconds write_patience{3};

/// Invalid when the port cannot be opened; the reason is reported once on standard error.
host::opened_stream open_port() {
  const auto name = host::chosen_endpoint(wire::port_variable, wire::port_socket);
  host::opened_stream port = host::open_byte_stream(name);
  if (!port.file.valid()) {
    platform::report_once(wire::unusable_port(name, port.error, host::byte_stream_forms));
  }
  return port;
}

void report_log(const listeners& to, byte_view packet) {
  constexpr std::size_t outer_header_size = 4;
  constexpr std::size_t inner_header_size = 12;
  const auto log = wire::parse_log(packet);
  if (!log) return;
  to.log(packet.subspan(outer_header_size, inner_header_size + log->payload.size()));
}

void report_events(const listeners& to, byte_view report) {
  wire::event_reader events(report);
  while (const auto event = events.next()) {
    // After its code byte, a report of a single event is exactly the structure listeners expect.
    const auto alone = wire::build_event_report(*event);
    to.event(byte_view(alone).subspan(1));
  }
}

}  // namespace

connection::connection(listeners to) : to_(std::move(to)) {}

bool connection::start() {
  if (!port()) return false;
  return thread_.start([self = shared_from_this()] { self->run(); });
}

void connection::stop() {
  stopping_ = true;
  wake_.wake();
  thread_.wait();
}

bool connection::send(byte_view request, int owner, answer_handler handler) {
  const platform::mutex_lock hold_sending(sending_);
  const shared_port to = port();
  if (!to) return false;
  {
    // Before sending, because the answer may arrive at once.
    const platform::mutex_lock hold(lock_);
    if (waiting_.size() == max_waiting) waiting_.erase(waiting_.begin());
    waiting_.push_back({owner, {request.begin(), request.end()}, std::move(handler)});
  }
  wire::framing framing(to->keeps_packets);
  if (host::send_all(to->file.get(), framing.to_write(request), write_patience)) return true;
  lose(to);
  return false;
}

void connection::forget(int owner) {
  const auto drop = [&] {
    const platform::mutex_lock hold(lock_);
    std::erase_if(waiting_, [&](const waiting& each) { return each.owner == owner; });
  };
  if (thread_.is_current()) return drop();
  const platform::mutex_lock no_handler_runs(calling_);
  drop();
}

connection::shared_port connection::present_port() {
  const platform::mutex_lock hold(lock_);
  return port_;
}

connection::shared_port connection::port() {
  if (auto present = present_port()) return present;
  auto opened = open_port();
  if (!opened.file.valid()) return nullptr;
  const platform::mutex_lock hold(lock_);
  port_ = std::make_shared<host::opened_stream>(std::move(opened));
  wake_.wake();
  return port_;
}

void connection::lose(const shared_port& lost) {
  const platform::mutex_lock hold(lock_);
  if (port_ != lost) return;
  port_.reset();
  waiting_.clear();
  wake_.wake();
}

void connection::run() {
  std::vector<std::uint8_t> buffer(read_size);
  protocol::hdlc::deframer frames;
  shared_port from = present_port();
  wire::framing framing(from && from->keeps_packets);
  while (!stopping_) {
    if (auto now = present_port(); now != from) {
      if (from) report_port(false);
      if (now) report_port(true);
      from = std::move(now);
      frames = {};
      framing = wire::framing(from && from->keeps_packets);
    }
    wait_for_bytes(from);
    if (!from) continue;
    const ssize_t got =
        host::uninterrupted([&] { return ::read(from->file.get(), buffer.data(), buffer.size()); });
    if (got > 0) {
      byte_view rest = framing.as_frames({buffer.data(), static_cast<std::size_t>(got)});
      for (byte_view packet; !stopping_ && frames.next(rest, packet);) handle(packet);
    } else if (got == 0 || errno != EAGAIN) {
      lose(from);
    }
  }
}

void connection::report_port(bool is_open) {
  const platform::mutex_lock hold(calling_);
  to_.port(is_open);
}

void connection::wait_for_bytes(const shared_port& from) const {
  std::array<pollfd, 2> waits{pollfd{wake_.descriptor(), POLLIN, 0},
                              pollfd{from ? from->file.get() : -1, POLLIN, 0}};
  if (::poll(waits.data(), waits.size(), -1) < 0) return;
  wake_.take();
}

void connection::handle(byte_view packet) {
  const platform::mutex_lock hold(calling_);
  const auto inner = wire::unwrap_radio(packet);
  if (!inner) return;
  const std::uint8_t code = inner->packet[0];
  if (code == wire::log_code) report_log(to_, inner->packet);
  if (code == wire::event_code) report_events(to_, inner->packet);
  handle_answer(packet);
}

void connection::handle_answer(byte_view packet) {
  answer_handler handler;
  {
    const platform::mutex_lock hold(lock_);
    const auto answered = std::ranges::find_if(
        waiting_, [&](const waiting& each) { return wire::is_answer(each.request, packet); });
    if (answered == waiting_.end()) return;
    handler = answered->handler;
    if (wire::is_last_answer(packet)) waiting_.erase(answered);
  }
  handler(packet);
}

}  // namespace diag
