// A capture as a source: its log packets and event reports, in their radio wrappers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "protocol/log_packet.h"
#include "simulator/diag/stream.h"

namespace sim::diag {

struct play_options {
  std::string file;                   ///< a stream of HDLC frames
  std::optional<std::uint32_t> rate;  ///< packets a second, 0 as fast as a client takes them;
                                      ///< nothing: as their time stamps say
  bool now = false;                   ///< time stamps become those of the playing
};

class capture : public source {
 public:
  /// Reads the file, or the pipe until its end. Throws `failure` when it cannot be read, is
  /// neither, or has no log packet or event.
  explicit capture(const play_options& options);

  [[nodiscard]] std::unique_ptr<cursor> begin() const override;

 private:
  friend class capture_cursor;

  struct entry {
    std::size_t at;  ///< in bytes_
    std::size_t size;
    std::chrono::microseconds due;
  };

  void add(protocol::byte_view packet);

  std::optional<std::uint32_t> rate_;
  bool now_;
  std::vector<std::uint8_t> bytes_;
  std::vector<entry> entries_;
  std::int64_t last_time_ = 0;
};

}  // namespace sim::diag
