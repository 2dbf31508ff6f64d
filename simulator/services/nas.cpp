#include "simulator/services/nas.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>
#include <vector>

#include "simulator/modem/modem.h"

namespace sim {
namespace {

using protocol::qmi::error;

constexpr unsigned subscription = 0;
constexpr std::uint8_t radio_lte = 8;

/// A value made of packed integers.
class packed {
 public:
  packed& u8(std::uint8_t value) { return add(value); }
  packed& u16(std::uint16_t value) { return add(value); }
  packed& u32(std::uint32_t value) { return add(value); }
  /// Rounded and clamped to the range of the integer.
  packed& s8(double value) { return add(static_cast<std::uint8_t>(clamped<std::int8_t>(value))); }
  packed& s16(double value) {
    return add(static_cast<std::uint16_t>(clamped<std::int16_t>(value)));
  }

  [[nodiscard]] protocol::byte_view view() const { return bytes_; }

 private:
  template <std::unsigned_integral T>
  packed& add(T value) {
    protocol::append_le(bytes_, value);
    return *this;
  }
  template <typename T>
  static T clamped(double value) {
    using limits = std::numeric_limits<T>;
    return static_cast<T>(std::clamp<double>(std::round(value), limits::lowest(), limits::max()));
  }

  std::vector<std::uint8_t> bytes_;
};

struct band_row {
  std::uint8_t first;  ///< of E-UTRA
  std::uint8_t last;
  std::uint16_t number;  ///< of the first one
};
constexpr band_row bands[] = {
    {1, 14, 120},  {17, 17, 134}, {18, 21, 143}, {24, 25, 147}, {26, 26, 153},
    {28, 30, 158}, {32, 32, 154}, {33, 40, 135}, {41, 43, 149}, {66, 66, 161},
};

std::optional<std::uint16_t> band_number(std::uint8_t band) {
  for (const band_row& row : bands) {
    if (band >= row.first && band <= row.last) {
      return static_cast<std::uint16_t>(row.number + (band - row.first));
    }
  }
  return std::nullopt;
}

std::uint32_t bandwidth_number(std::uint8_t resource_blocks) {
  constexpr std::uint8_t widths[] = {6, 15, 25, 50, 75, 100};
  const auto* const row = std::ranges::lower_bound(widths, resource_blocks);
  return static_cast<std::uint32_t>(row - std::begin(widths));
}

}  // namespace

reply get_signal_strength(const request& asked) {
  const auto seen = asked.state.seen_by(subscription);
  if (!seen) return error::information_unavailable;
  const lte_cell& lte = seen->lte;
  reply out;
  out.tlvs.bytes(0x01, packed().s8(lte.rssi()).u8(radio_lte).view())
      .standard_response(error::none)
      // How far below 0 dBm, in a list.
      .bytes(0x11, packed().u16(1).s8(-lte.rssi()).u8(radio_lte).view())
      .bytes(0x16, packed().s8(lte.rsrq).u8(radio_lte).view())
      .bytes(0x17, packed().s16(10 * lte.sinr).view())
      .bytes(0x18, packed().s16(lte.rsrp).view());
  return out;
}

reply get_rf_band_info(const request& asked) {
  const auto seen = asked.state.seen_by(subscription);
  const auto band = seen ? band_number(seen->lte.band) : std::nullopt;
  if (!band) return error::information_unavailable;
  const lte_cell& lte = seen->lte;
  const auto narrow = static_cast<std::uint16_t>(std::min<std::uint32_t>(lte.dl_earfcn, 0xFFFF));
  reply out;
  out.tlvs.bytes(0x01, packed().u8(1).u8(radio_lte).u16(*band).u16(narrow).view())
      .standard_response(error::none)
      .bytes(0x11, packed().u8(1).u8(radio_lte).u16(*band).u32(lte.dl_earfcn).view())
      .bytes(0x12, packed().u8(1).u8(radio_lte).u32(bandwidth_number(lte.resource_blocks)).view());
  return out;
}

reply get_signal_info(const request& asked) {
  const auto seen = asked.state.seen_by(subscription);
  if (!seen) return error::information_unavailable;
  const lte_cell& lte = seen->lte;
  const nr_cell& nr = seen->nr;
  reply out = error::none;
  out.tlvs.bytes(0x14, packed().s8(lte.rssi()).s8(lte.rsrq).s16(lte.rsrp).s16(10 * lte.sinr).view())
      .bytes(0x17, packed().s16(nr.rsrp).s16(10 * nr.sinr).view())
      .bytes(0x18, packed().s16(nr.rsrq).view());
  return out;
}

}  // namespace sim
