// How parsers read a packet and write its record. The first check that fails prints one line; from
// then on reads return 0, and lines and records are dropped, so that a parser runs from top to
// bottom without error branches:
//
//   const auto version = in.next<u8>("version");
//   in.check_version(version, {1});
//   const auto count = in.bits(at::num_records);
//   in.print("version = %d, num_records = %d", version, count);
//   in.publish(some_record, "version"_f = version, "num_records"_f = count);
#pragma once

#include <array>
#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <span>
#include <type_traits>

#include "modem_stats/bit_field.h"
#include "modem_stats/packet.h"
#include "modem_stats/record.h"
#include "modem_stats/record_schema.h"

namespace modem_stats {

/// How far reads may go.
enum class window_end : std::uint8_t {
  sliding,    // 2000 bytes from the end of the last bit-field; bytes beyond the packet are zero
  of_packet,  // the last byte of the packet
};

class packet_decoder {
 public:
  /// `parser` is the name in messages.
  packet_decoder(const char* parser, const packet& packet, window_end end, const packet_sinks& to,
                 stream_state& state, version_set versions = version_set::product);
  packet_decoder(const packet_decoder&) = delete;
  packet_decoder& operator=(const packet_decoder&) = delete;
  ~packet_decoder() = default;

  [[nodiscard]] int sub_id() const { return sub_id_; }
  /// Check ok() before changing it, because it outlives the packet.
  [[nodiscard]] stream_state& state() const { return state_; }
  [[nodiscard]] const packet_outcome& outcome() const { return outcome_; }

  /// Reads the little-endian value at the byte cursor and moves the cursor past it.
  template <std::integral T>
  T next(const char* name) {
    return static_cast<T>(next_bytes(name, sizeof(T)));
  }

  /// Moves the cursor past these bytes, even beyond the end of the packet.
  void skip(unsigned bytes);

  /// From now on fields are relative to this byte of the payload; also moves the byte cursor there.
  void block_at(unsigned byte);
  [[nodiscard]] unsigned block() const { return block_; }

  template <std::integral T>
  [[nodiscard]] T bits(const bit_field<T>& field) {
    return static_cast<T>(
        field_bits(field.name, field.bit, field.width, 8 * sizeof(T), std::is_signed_v<T>));
  }

  /// Like bits(), or `otherwise` if the packet's version does not have the field.
  template <std::integral T>
  [[nodiscard]] T bits_or(const bit_field<T>& field, T otherwise) {
    return field.name == nullptr ? otherwise : bits(field);
  }

  /// A field of at most 32 bits that no check depends on, or `otherwise` if the packet ends before
  /// its end. Changes nothing: neither the cursor, nor how far later reads may go.
  template <std::integral T>
  [[nodiscard]] T peek(const bit_field<T>& field, T otherwise) const {
    const unsigned first = 8 * block_ + field.bit;
    if (payload_.size() < (first + field.width + 7) / 8) return otherwise;
    const auto word = load(first / 8, sizeof(std::uint64_t)) >> (first % 8);
    return static_cast<T>(word & ((std::uint64_t{1} << field.width) - 1));
  }

  /// Rejects a version that is not listed.
  void check_version(std::uint32_t version, std::initializer_list<std::uint32_t> supported);

  /// The row for `version`. If there is none, rejects the version and returns an arbitrary row.
  /// Rows with an `origin` other than the product count only if all versions are to be decoded.
  /// `name` is the name in messages; by default the parser's.
  template <typename Row, std::size_t n>
  [[nodiscard]] const Row& layout_for(std::uint32_t version, const Row (&rows)[n],
                                      const char* name = nullptr) {
    note_version(version);
    for (const Row& row : rows) {
      if (row.version == version && accepts(row)) return row;
    }
    reject_version(version, name == nullptr ? parser_ : name);
    return rows[0];
  }

  /// Ends the decoding unless `valid`, and prints `value` and `name` (by default the parser's).
  template <std::integral T>
  void check_valid(bool valid, T value, const char* name = nullptr) {
    if (!valid) reject_value(static_cast<int>(value), name);
  }

  /// Ends the decoding and returns false if `count` exceeds `max`. Also false after an earlier
  /// failure.
  bool check_count(std::uint32_t count, std::uint32_t max, const char* name);

  /// Prints a line.
  void print(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// Publishes a record of these values, one for each field and each value beside them.
  template <const auto& list, const auto& beside, typename... Value>
  requires fields_of<fixed_record<list, beside>::published, Value...>
  void publish(const fixed_record<list, beside>& schema, Value... values) {
    put(packed<fixed_record<list, beside>::published>(values...));
    publish_added(schema, beside.offset(beside.rows.size()));
  }

  /// Adds one part of a record; publish_added() completes it.
  template <const auto& list, typename... Value>
  requires fields_of<list, Value...>
  void add(Value... values) { put(packed<list>(values...)); }
  /// The last `beside` bytes added are no part of the record, but beside it.
  void publish_added(const record_schema& schema, std::size_t beside = 0);

  /// True while no check has failed.
  [[nodiscard]] bool ok() const { return ok_; }

 private:
  template <typename Row>
  [[nodiscard]] bool accepts(const Row& row) const {
    if constexpr (requires { row.from; }) {
      return row.from == origin::product || accepted_ == version_set::all;
    } else {
      return true;
    }
  }

  std::uint64_t next_bytes(const char* name, unsigned width);
  static constexpr unsigned word_bits = 64;

  /// Nearly every field of a packet passes all checks, and has a whole word after its first bit.
  std::uint64_t field_bits(const char* name, unsigned bit, unsigned width, unsigned room,
                           bool is_signed) {
    const unsigned first = 8 * block_ + bit;
    if (!ok_ || end_ == window_end::sliding ||
        first / 8 + sizeof(std::uint64_t) > payload_.size() || first % 8 + width > word_bits ||
        width > room) {
      return checked_field_bits(name, bit, width, room, is_signed);
    }
    base_ = 0;
    cursor_ = static_cast<int>(first / 8);
    left_ = static_cast<int>(payload_.size()) - cursor_;
    bit_position_ = first + width;
    std::uint64_t word = 0;
    std::memcpy(&word, payload_.data() + cursor_, sizeof word);
    return value_in(word, first % 8, width, is_signed);
  }
  std::uint64_t checked_field_bits(const char* name, unsigned bit, unsigned width, unsigned room,
                                   bool is_signed);
  /// The `width` bits of `word` from bit `low` on, which are in it.
  [[nodiscard]] static std::uint64_t value_in(std::uint64_t word, unsigned low, unsigned width,
                                              bool is_signed) {
    const unsigned unused = word_bits - width;
    const std::uint64_t value = word >> low << unused;
    return is_signed ? static_cast<std::uint64_t>(static_cast<std::int64_t>(value) >> unused)
                     : value >> unused;
  }
  [[nodiscard]] bool seek(unsigned bit);
  [[nodiscard]] int next_byte() const { return base_ + cursor_; }
  [[nodiscard]] std::uint64_t load(std::size_t byte, unsigned width) const;

  void put(std::span<const std::uint8_t> bytes);

  void note_version(std::uint32_t version);
  void reject_version(std::uint32_t version, const char* name);
  void reject_value(int value, const char* name);
  void fail(rejection why, const char* format, ...) __attribute__((format(printf, 3, 4)));
  void print_line(const char* format, std::va_list args) const
      __attribute__((format(printf, 2, 0)));

  const char* parser_;
  std::uint32_t id_;
  int sub_id_;
  std::span<const std::uint8_t> payload_;
  window_end end_;
  packet_sinks to_;
  stream_state& state_;
  version_set accepted_;
  packet_outcome outcome_;
  bool ok_ = true;
  int versions_ = 0;    // number of versions read so far
  unsigned block_ = 0;  // byte of the payload
  int base_ = 0;        // "byte base"
  int cursor_ = 0;      // "g_pK_DATA_CNT": from base_
  int left_;            // "g_pk_data_left"
  unsigned bit_position_ = 0;
  std::size_t written_ = 0;
  std::array<std::uint8_t, modem_stats_max_data_len> staging_;
};

}  // namespace modem_stats
