// One client of the DIAG port, on any byte stream: requests and answers in order, and the packets
// that its masks select. A client that reads slowly is served slowly, but loses nothing.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include <asio/io_context.hpp>

#include "protocol/hdlc.h"
#include "simulator/clock.h"
#include "simulator/diag/command.h"
#include "simulator/diag/faults.h"
#include "simulator/diag/stream.h"
#include "simulator/ports/connection.h"
#include "simulator/trace.h"

namespace sim {

/// What all clients share.
struct diag_server {
  modem& state;
  const diag::source& packets;  ///< sent unasked
  diag::faults faults;
  sim::trace& trace;
  std::function<void()> restart;  ///< of the whole modem
};

class diag_connection : public connection {
 public:
  diag_connection(asio::io_context& io, diag_server& server, unsigned number, peer_stream stream,
                  left_handler left);

 private:
  void received(protocol::byte_view bytes) override;
  void made_room() override;

  void work_off_requests();
  void serve(protocol::byte_view request);
  void answer(const diag::packet& packet, const diag::fault_rule* fault);
  void send_pieces(std::vector<std::uint8_t> frame, std::size_t piece);
  /// Requests wait meanwhile, so that answers keep their order.
  void pause(std::chrono::milliseconds time, std::function<void()> then);
  void resume();

  void request_seen();
  void begin_stream();
  void pump();
  void pump_at(clock::time_point when);

  void send_packet(protocol::byte_view packet);

  diag_server& server_;
  unsigned number_;

  protocol::byte_view unread_;  ///< of what was received last
  protocol::hdlc::deframer deframer_;
  std::uint64_t bad_frames_ = 0;
  diag::session session_;
  std::uint64_t restarts_ = 0;

  timer pause_;
  bool paused_ = false;
  bool in_frame_ = false;  ///< a frame is being sent in pieces: nothing may come in between
  bool stalled_ = false;   ///< nothing is read while too much waits to be written

  std::vector<std::uint8_t> frame_;
  std::vector<std::uint8_t> shortened_;

  timer stream_timer_;
  std::unique_ptr<diag::cursor> cursor_;
  clock::time_point stream_begin_;
};

}  // namespace sim
