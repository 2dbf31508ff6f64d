#include "modem_stats/packet_decoder.h"

#include <algorithm>
#include <cstring>

#include "modem_stats/line_text.h"
#include "qcril-common/utilities/checked.h"

namespace modem_stats {

namespace {

constexpr int sliding_window = 2000;

}  // namespace

packet_decoder::packet_decoder(const char* parser, const packet& packet, window_end end,
                               const packet_sinks& to, stream_state& state, version_set versions)
    : parser_(parser),
      id_(packet.id),
      sub_id_(packet.sub_id),
      payload_(packet.payload),
      end_(end),
      to_(to),
      state_(state),
      accepted_(versions),
      left_(end == window_end::sliding ? sliding_window : static_cast<int>(payload_.size())) {}

std::uint64_t packet_decoder::load(std::size_t byte, unsigned width) const {
  std::uint64_t word = 0;
  if (byte < payload_.size()) {
    std::memcpy(&word, payload_.data() + byte,
                std::min<std::size_t>(width, payload_.size() - byte));
  }
  return word;
}

std::uint64_t packet_decoder::next_bytes(const char* name, unsigned width) {
  if (!ok_) return 0;
  if (payload_.data() == nullptr) {
    fail(rejection::length, "MODEM_STATS_DATA_UNPK, g_pk_data_ptr is NULL, name: %s, id(0x%x)",
         name, id_);
    return 0;
  }
  if (left_ < static_cast<int>(width)) {
    fail(rejection::length, "g_pk_data_left(%d) is not enough for %s, id(0x%x)", left_, name, id_);
    return 0;
  }
  if (cursor_ < 0) {
    // sic
    fail(rejection::length, "g_pK_DATA_CNT(%d) is can not < 0 for %s, id(0x%x)", cursor_, name,
         id_);
    return 0;
  }
  const auto value = load(static_cast<std::size_t>(next_byte()), width);
  cursor_ += static_cast<int>(width);
  left_ -= static_cast<int>(width);
  bit_position_ = 8 * static_cast<unsigned>(next_byte());
  return value;
}

void packet_decoder::skip(unsigned bytes) {
  cursor_ += static_cast<int>(bytes);
  left_ -= static_cast<int>(bytes);
}

void packet_decoder::block_at(unsigned byte) {
  block_ = byte;
  if (ok_ && seek(8 * byte)) cursor_ = static_cast<int>(byte) - base_;
}

/// Sets base, cursor and remaining bytes for a read at this bit of the payload.
bool packet_decoder::seek(unsigned bit) {
  const int byte = static_cast<int>(bit / 8);
  if (end_ == window_end::of_packet) {
    base_ = 0;
    cursor_ = byte;
    left_ = std::max(static_cast<int>(payload_.size()) - byte, 0);
    return true;
  }
  base_ = static_cast<int>(bit_position_ / 8);
  const int position = byte - base_;
  if (sliding_window <= position) {
    fail(rejection::length, "UNPK_SET_POS, pos(%d) should be[0, %d), id(0x%x)", position,
         sliding_window, id_);
    return false;
  }
  cursor_ = position;
  left_ = sliding_window - position;
  return true;
}

std::uint64_t packet_decoder::checked_field_bits(const char* name, unsigned bit, unsigned width,
                                                 unsigned room, bool is_signed) {
  if (!ok_) return 0;
  const unsigned first = 8 * block_ + bit;
  if (!seek(first)) return 0;
  const auto low = static_cast<int>(first % 8 + 1);
  const auto high = low + static_cast<int>(width) - 1;
  // The sliding window always takes a whole word; in a packet, nothing need follow the last field.
  const int needed = end_ == window_end::sliding ? static_cast<int>(sizeof(u64)) : (high + 7) / 8;
  if (left_ < needed) {
    fail(rejection::length, "g_pk_data_left(%d) is not enough for %s_tmp, id(0x%x)", left_, name,
         id_);
    return 0;
  }
  if (high < 1 || high > static_cast<int>(word_bits)) {
    fail(rejection::length, "UNPK_MID, high(%d) should be in [1, %d] for %s_tmp, id(0x%x)", high,
         word_bits, name, id_);
    return 0;
  }
  if (low > high) {
    fail(rejection::length, "UNPK_MID, low(%d) should <= high(%d) for %s_tmp, id(0x%x)", low, high,
         name, id_);
    return 0;
  }
  if (width > room) {
    fail(rejection::length, "UNPK_LOW, bit_num(%d) should be in [1, %d] for %s_tmp, id(0x%x)",
         width, room, name, id_);
    return 0;
  }
  const u64 word = load(static_cast<std::size_t>(next_byte()), sizeof(u64));
  bit_position_ = first + width;
  return value_in(word, first % 8, width, is_signed);
}

void packet_decoder::check_version(std::uint32_t version,
                                   std::initializer_list<std::uint32_t> supported) {
  note_version(version);
  if (std::find(supported.begin(), supported.end(), version) == supported.end()) {
    reject_version(version, parser_);
  }
}

/// The first version is the packet's, the second a sub-packet's.
void packet_decoder::note_version(std::uint32_t version) {
  if (!ok_) return;
  if (versions_ == 0) outcome_.version = version;
  if (versions_ == 1) outcome_.sub_version = version;
  ++versions_;
}

void packet_decoder::reject_version(std::uint32_t version, const char* name) {
  if (!ok_) return;
  auto& count = state_.versions_not_supported;
  count = checked_add<std::uint64_t>(count, 1);
  ok_ = false;
  outcome_.rejected = rejection::version;
  if (versions_ > 1) outcome_.sub_version = version;
  if (to_.lines == nullptr) return;
  line_text line;
  line.add("VERSION_NOT_SUPPORT, version(%d), not_support_num(", version);
  const auto count_at = line.size();
  line.add("%lu), name(%s), id(0x%x)", count, name, id_);
  to_.lines->write_counted(line.finished(), count_at);
}

void packet_decoder::reject_value(int value, const char* name) {
  fail(rejection::value, "DATA_IS_NOT_VALID(%d), name(%s), id(0x%x)", value,
       name == nullptr ? parser_ : name, id_);
}

bool packet_decoder::check_count(std::uint32_t count, std::uint32_t max, const char* name) {
  if (count > max) {
    fail(rejection::count, "Cur(%d) reached max(%d), for %s, id(0x%x)", count, max, name, id_);
  }
  return ok_;
}

void packet_decoder::put(std::span<const std::uint8_t> bytes) {
  if (!ok_) return;
  if (bytes.size() > staging_.size() - written_) {
    fail(rejection::count, "Cur(%d) reached max(%d), for %s, id(0x%x)", static_cast<int>(written_),
         modem_stats_max_data_len, parser_, id_);
    return;
  }
  std::ranges::copy(bytes, staging_.data() + written_);
  written_ += bytes.size();
}

void packet_decoder::publish_added(const record_schema& schema, std::size_t beside) {
  if (!ok_) return;
  if (to_.records != nullptr) {
    const auto all = std::span<const std::uint8_t>(staging_).first(written_);
    to_.records->record(schema, {all.first(written_ - beside), all.last(beside)});
  }
  written_ = 0;
}

void packet_decoder::print_line(const char* format, std::va_list args) const {
  line_text line;
  line.add_args(format, args);
  to_.lines->write(line.finished());
}

void packet_decoder::print(const char* format, ...) {
  if (!ok_ || to_.lines == nullptr) return;
  std::va_list args;
  va_start(args, format);
  print_line(format, args);
  va_end(args);
}

void packet_decoder::fail(rejection why, const char* format, ...) {
  if (!ok_) return;
  ok_ = false;
  outcome_.rejected = why;
  if (to_.lines == nullptr) return;
  std::va_list args;
  va_start(args, format);
  print_line(format, args);
  va_end(args);
}

}  // namespace modem_stats
