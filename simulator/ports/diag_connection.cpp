#include "simulator/ports/diag_connection.h"

#include <algorithm>
#include <utility>

#include "protocol/log_packet.h"
#include "simulator/diag/scenario.h"

namespace sim {
namespace {

namespace hdlc = protocol::hdlc;
using diag::fault_action;
using protocol::byte_view;
using std::chrono::milliseconds;

// Clients set their masks in several requests, and some of them mistake a packet between two
// requests for an answer.
constexpr milliseconds quiet_before_stream{1500};
constexpr milliseconds between_pieces{5};

constexpr std::size_t most_received = 4096;
constexpr std::size_t stream_stops = std::size_t{64} << 10;  // bytes waiting to be written
constexpr std::size_t reading_stops = std::size_t{1} << 20;
constexpr unsigned packets_at_once = 64;  // then others have their turn

std::uint64_t bad_frames(const hdlc::frame_counts& counts) {
  return counts.bad_crc + counts.too_short + counts.too_long;
}

protocol::diag::time_stamp stamp_of_now() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return protocol::diag::from_unix_microseconds(
      std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

}  // namespace

diag_connection::diag_connection(asio::io_context& io, diag_server& server, unsigned number,
                                 peer_stream stream, left_handler left)
    : connection(std::move(stream), boundaries::none, most_received, no_limit,
                 [this, tell = std::move(left)](std::string_view reason) {
                   pause_.cancel();
                   stream_timer_.cancel();
                   tell(reason);
                 }),
      server_(server),
      number_(number),
      restarts_(server.state.activity.of(event::restart)),
      pause_(io),
      stream_timer_(io) {}

void diag_connection::received(byte_view bytes) {
  unread_ = bytes;
  work_off_requests();
}

void diag_connection::work_off_requests() {
  byte_view request;
  while (!is_closed() && !paused_ && deframer_.next(unread_, request)) serve(request);
  if (is_closed() || paused_) return;
  if (const auto bad = bad_frames(deframer_.counts()); std::exchange(bad_frames_, bad) != bad) {
    server_.trace.diag_note(number_, "dropped, not a whole frame or its CRC is wrong");
  }
  stalled_ = waiting() > reading_stops;
  if (!stalled_) receive();
}

void diag_connection::serve(byte_view request) {
  server_.trace.diag(trace::direction::to_modem, number_, diag::name_of(request), request);
  // Files that were open in the modem are lost when its firmware restarts.
  const auto restarts = server_.state.activity.of(event::restart);
  if (std::exchange(restarts_, restarts) != restarts) session_.files = {};

  const diag::fault_rule* const fault = server_.faults.strike(request);
  if (fault != nullptr) {
    server_.trace.fault(fault->text);
    if (fault->action == fault_action::silent) return;
    if (fault->action == fault_action::disconnect) return close("a fault");
  }
  const diag::reply reply = fault != nullptr && fault->action == fault_action::error
                                ? diag::refuse(static_cast<std::uint8_t>(*fault->value), request)
                                : diag::answer(request, session_, server_.state);
  answer(reply.answer, fault);
  if (reply.restart) server_.restart();
  request_seen();
}

void diag_connection::answer(const diag::packet& packet, const diag::fault_rule* fault) {
  std::vector<std::uint8_t> frame;
  byte_view sent = packet;
  if (fault != nullptr && fault->action == fault_action::truncate) {
    sent = sent.first(std::min<std::size_t>(*fault->value, sent.size()));
  }
  hdlc::append_frame(frame, sent);
  // An answer has the code of its request; an error has a code of its own.
  server_.trace.diag(trace::direction::from_modem, number_, "answer", sent);
  if (fault == nullptr) return send(frame);
  switch (fault->action) {
    case fault_action::bad_crc: {
      // In the CRC itself: a damaged packet would be skipped as a wrong answer even if its CRC were
      // not checked.
      std::uint8_t& last = frame[frame.size() - 2];
      const bool would_be_special =
          last == (hdlc::escape ^ 0x80) || last == (hdlc::terminator ^ 0x80);
      last ^= would_be_special ? 0x40 : 0x80;
      return send(frame);
    }
    case fault_action::split:
      return send_pieces(std::move(frame), fault->value.value_or(1));
    case fault_action::delay:
      return pause(milliseconds(*fault->value), [this, late = std::move(frame)] { send(late); });
    case fault_action::log: {
      const auto log = diag::serving_cell_log(server_.state.radio.at_present(), stamp_of_now());
      for (std::uint32_t i = 0; i < fault->value.value_or(1); ++i) send_packet(log);
      return send(frame);
    }
    default:
      return send(frame);
  }
}

void diag_connection::send_pieces(std::vector<std::uint8_t> frame, std::size_t piece) {
  piece = std::min(piece, frame.size());
  in_frame_ = true;
  const auto first = frame.begin() + static_cast<std::ptrdiff_t>(piece);
  send({frame.begin(), first});
  pause(between_pieces, [this, piece, rest = std::vector<std::uint8_t>(first, frame.end())] {
    in_frame_ = false;
    if (!rest.empty()) send_pieces(rest, piece);
  });
}

void diag_connection::pause(milliseconds time, std::function<void()> then) {
  paused_ = true;
  pause_.expires_after(time);
  pause_.async_wait(
      [this, self = shared_from_this(), then = std::move(then)](const std::error_code& cancelled) {
        if (cancelled || is_closed()) return;
        paused_ = false;
        then();
        if (!paused_) resume();
      });
}

void diag_connection::resume() {
  work_off_requests();
  pump();
}

void diag_connection::request_seen() {
  if (!session_.masks.wants_any()) {
    cursor_.reset();
    stream_timer_.cancel();
  } else if (!cursor_) {
    stream_timer_.expires_after(quiet_before_stream);
    stream_timer_.async_wait([this, self = shared_from_this()](const std::error_code& cancelled) {
      if (cancelled || is_closed() || !session_.masks.wants_any()) return;
      begin_stream();
    });
  }
}

void diag_connection::begin_stream() {
  cursor_ = server_.packets.begin();
  stream_begin_ = clock::now();
  pump();
}

void diag_connection::pump() {
  for (unsigned sent = 0; cursor_ && !is_closed() && !in_frame_; ++sent) {
    if (waiting() > stream_stops) return;  // on when there is room again
    const auto now = clock::now();
    const auto due = cursor_->due();
    if (!due) return;
    if (stream_begin_ + *due > now) return pump_at(stream_begin_ + *due);
    if (sent == packets_at_once) return pump_at(now);
    send_packet(session_.masks.select(cursor_->take(), shortened_));
  }
}

void diag_connection::pump_at(clock::time_point when) {
  stream_timer_.expires_at(when);
  stream_timer_.async_wait([this, self = shared_from_this()](const std::error_code& cancelled) {
    if (!cancelled) pump();
  });
}

void diag_connection::send_packet(byte_view packet) {
  if (packet.empty()) return;
  server_.trace.diag(trace::direction::from_modem, number_,
                     packet[0] == protocol::diag::event_code ? "event report" : "log packet",
                     packet);
  frame_.clear();
  hdlc::append_frame(frame_, packet);
  send(frame_);
}

void diag_connection::made_room() {
  if (std::exchange(stalled_, false)) work_off_requests();
  pump();
}

}  // namespace sim
